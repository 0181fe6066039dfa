// SPDX-License-Identifier: Apache-2.0
#pragma once
// The constants of the kernels.

#include "ArvessaTypes.h"
#include "arithmetic/block.h"

namespace arvessa::kernels {

inline constexpr Word32 kDeemphasis = 866019132;    // 0.40327 in Q31
inline constexpr Word32 kPreemphasis = -866019132;  // and its negative

// 1.40327 times the size of the words, but for the first, whose predecessor may have any size; and
// 3 units, by which a product may be low.
constexpr UsedBits boundOfPreemphasis(UsedBits bits, Word32 first) {
  return doubled(bits | 7) | usedBits(first);
}

// Smoothing of the power over time and over three bins, Q15.
inline constexpr Word16 kSmoothOld = 26214;    // 0.8
inline constexpr Word16 kSmoothEdge = 6554;    // 0.2
inline constexpr Word16 kSmoothCentre = 3277;  // 0.1
inline constexpr Word16 kSmoothSide = 1638;    // 0.05

inline constexpr Word16 kActiveScale = 10158;  // 0.31 in Q15: one in 3.2
inline constexpr Word32 kActiveOffset = 20;    // keeps the test quiet in silence

inline constexpr Word16 kNoiseBits = 7;  // extra fraction bits of the noise estimate

}  // namespace arvessa::kernels
