// SPDX-License-Identifier: Apache-2.0
#pragma once
// The filters that split the band at 48 kHz and join it again: elliptic, of order 10, crossover at
// 0.15 of the rate; low-pass -3 dB at 0.147 and -42 dB from 1/6 on, high-pass -42 dB up to 0.13.
//
// v = (sum B x >> 3) - sum A y over the last 11 inputs x, Q15, and the last 10 outputs y, which
// have 13 more fraction bits: y = v 2^5 (low-pass, coefficients in Q26) or v 2^8 (high-pass, Q23),
// saturated.

#include "ArvessaTypes.h"

extern "C" {

// Coefficients by delay. A[0] is 1 and not used.
extern ARVESSA_API const Word32 AEC_CONST_LPF_B[11];
extern ARVESSA_API const Word32 AEC_CONST_LPF_A[11];
extern ARVESSA_API const Word32 AEC_CONST_HPF_B[11];
extern ARVESSA_API const Word32 AEC_CONST_HPF_A[11];

}  // extern "C"

namespace arvessa::kernels {

// From the scale of v to that of the memory, and to the upper half of a word.
inline constexpr Word16 kLowPassShift = 5;
inline constexpr Word16 kHighPassShift = 8;
inline constexpr Word16 kLowPassRounding = 8;
inline constexpr Word16 kHighPassRounding = 11;

}  // namespace arvessa::kernels
