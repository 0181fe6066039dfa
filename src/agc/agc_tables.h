// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>

#include "agc/agc.h"

extern "C" {

// Gains in Q16 by headroom in bits of power: from -1.9 to 8.9 dB, and from 1.2 to 18.4 dB.
// Headrooms 0 and 1 do not occur.
extern ARVESSA_API const Word32 WVQE_AGC_GAIN_TABLE_5_9[32];
extern ARVESSA_API const Word32 WVQE_AGC_GAIN_TABLE_15_9[32];

}  // extern "C"

namespace arvessa {

// By the selector of the interface: 2, or 3 and 4, which are the same.
inline bool isGainTable(int selector) { return selector >= 2 && selector <= 4; }

inline std::span<const Word32, kGains> gainTable(int selector) {
  return std::span<const Word32, kGains>(
      selector == 2 ? WVQE_AGC_GAIN_TABLE_5_9 : WVQE_AGC_GAIN_TABLE_15_9, kGains);
}

}  // namespace arvessa
