// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>

#include "agc/agc.h"

extern "C" {

// Gains in Q16 by headroom in bits of power, 3 dB each; 0 and 1 do not occur, as a power is below
// 2^30. From -1.9 to 8.9 dB: peaks come to 0.8 of full scale at most, 2^(1 - h/2) times the gain. From
// 1.2 to 18.4 dB, for more of quiet speech: that limit is 1.15 at 2, where samples saturate, and
// below 1 from 3 on. The digits of the names have no meaning here.
extern ARVESSA_API const Word32 WVQE_AGC_GAIN_TABLE_5_9[32];
extern ARVESSA_API const Word32 WVQE_AGC_GAIN_TABLE_15_9[32];

}  // extern "C"

namespace arvessa {

// By the selector of the interface, `agcTableSel`: it counts from 2, and two numbers mean one table.
inline bool isGainTable(int selector) { return selector >= 2 && selector <= 4; }

inline std::span<const Word32, kGains> gainTable(int selector) {
  switch (selector) {
    case 2:
      return WVQE_AGC_GAIN_TABLE_5_9;
    case 3:
    case 4:
      return WVQE_AGC_GAIN_TABLE_15_9;
    default:  // not isGainTable; the undefined-behaviour sanitizer stops here
      __builtin_unreachable();
  }
}

}  // namespace arvessa
