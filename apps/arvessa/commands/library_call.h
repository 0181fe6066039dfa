// SPDX-License-Identifier: Apache-2.0
#pragma once
// What calls of the library have in common.

#include <cstdint>
#include <string>

#include "audio_io/errors.h"

namespace arvessa::app {

inline std::uint8_t flag(bool on) { return on ? 1 : 0; }

// Throws a Failure unless `status`, which `function` returned, is 0.
inline void check(std::intptr_t status, const char* function) {
  if (status != 0) throw Failure(function, "returned " + std::to_string(status));
}

}  // namespace arvessa::app
