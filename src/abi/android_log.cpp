// SPDX-License-Identifier: Apache-2.0
// Stand-in for the platform's log where there is none: one line in logcat's brief format on
// standard error. Weak, so that a program that defines its own log function is called instead.
#ifndef __ANDROID__

#include "abi/android_log.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

// NOLINTNEXTLINE: the platform's name
extern "C" __attribute__((weak, visibility("default"))) int __android_log_print(int priority,
                                                                                const char* tag,
                                                                                const char* format,
                                                                                ...) {
  constexpr char kLetters[] = "??VDIWEFS";  // by Android's priorities 0..8
  const char letter = priority >= 0 && priority <= 8 ? kLetters[priority] : '?';
  char text[256];
  std::va_list arguments;
  va_start(arguments, format);
  int length = std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  if (length < 0) return length;
  if (length >= static_cast<int>(sizeof text)) length = static_cast<int>(sizeof text) - 1;
  if (length > 0 && text[length - 1] == '\n') text[length - 1] = '\0';
  return std::fprintf(stderr, "%c/%s: %s\n", letter, tag, text);
}

#endif  // __ANDROID__
