// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <cstdlib>

namespace arvessa::app {

inline std::uint8_t flag(bool on) { return on ? 1 : 0; }

// For calls whose arguments are right by construction: a refusal is a fault of this program.
inline void mustBeZero(std::intptr_t status) {
  if (status != 0) std::abort();
}

}  // namespace arvessa::app
