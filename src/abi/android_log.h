// SPDX-License-Identifier: Apache-2.0
#pragma once
// The platform's log function, as Android's <android/log.h> declares it.

// NOLINTNEXTLINE: the platform's name
extern "C" int __android_log_print(int priority, const char* tag, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

namespace arvessa {
inline constexpr int kLogDebug = 3;
}
