// SPDX-License-Identifier: Apache-2.0
// A program that defines the platform's log function is called instead of the stand-in.
#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <string>

#include "Arvessa.h"

static std::string logged;

extern "C" __attribute__((visibility("default"))) int __android_log_print(int priority,
                                                                          const char* tag,
                                                                          const char* format, ...) {
  char text[100];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  logged += std::to_string(priority) + '|' + tag + '|' + format + '|' + text;
  return 1;
}

TEST(Log, ProgramsOwnFunctionIsCalled) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(Arvessa_GetVer(), 100);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(logged, "3|Arvessa|Arvessa_GetVer:%d!\n|Arvessa_GetVer:100!\n");
}
