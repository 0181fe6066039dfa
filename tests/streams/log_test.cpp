// SPDX-License-Identifier: Apache-2.0
// A program that defines the platform's log function is called instead of the stand-in.
#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <string>

#include "Arvessa.h"

namespace {

struct Line {
  int priority = -1;
  std::string tag;
  std::string format;
  std::string text;
};
Line line;

}  // namespace

extern "C" __attribute__((visibility("default"))) int __android_log_print(int priority,
                                                                          const char* tag,
                                                                          const char* format, ...) {
  char text[100];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  line = {priority, tag, format, text};
  return 1;
}

TEST(Log, ProgramsOwnFunctionIsCalled) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(Arvessa_GetVer(), 100);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(line.priority, 3);
  EXPECT_EQ(line.tag, "Arvessa");
  EXPECT_EQ(line.format, "Arvessa_GetVer:%d!\n");
  EXPECT_EQ(line.text, "Arvessa_GetVer:100!\n");
}
