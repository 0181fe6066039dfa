// SPDX-License-Identifier: Apache-2.0
#pragma once
// The exported names of the numeric functions (arithmetic/). Any thread, any operands;
// meaningful within the ranges stated. Pure functions, but for the last two, which work in place.

#include "ArvessaTypes.h"

extern "C" {

// num/den: integer quotient; in Q8, saturated to 16 bits; scaled by 32767. 0 <= num, 0 < den.
ARVESSA_API Word32 WVQE_L_div32(Word32 num, Word32 den);
ARVESSA_API Word16 WVQE_DIV32_16_Q8(Word32 num, Word32 den);
ARVESSA_API Word32 WVQE_DIV32_16_Q15(Word32 num, Word32 den);

// e^x and 2^x, x in Q11, result in Q16, saturated.
ARVESSA_API Word32 WVQE_Exp(Word16 x);
ARVESSA_API Word32 WVQE_ExpTmp(Word16 x);

// Square root of x >= 0, Q2n in, Qn out, within 0.3 % and then truncated: coarse for small x.
ARVESSA_API Word32 WVQE_Sqrt(Word32 x);

// floor(log4 x), 0 for 0. x is unsigned.
ARVESSA_API Word16 WVQE_iLog4(uint32_t x);

// Scales x[0..n-1] in place so that the largest magnitude lies in 2^(30-headroom)..2^(31-headroom),
// by a left shift or by a flooring right shift, and returns the left shift applied (-headroom for a
// block of zeros). headroom 0..30.
ARVESSA_API Word16 WVQE_Block_Norm(Word32* x, Word16 n, Word16 headroom);

// Shifts x[0..n-1] in place to the right by `shift`, flooring, or to the left by -`shift`,
// saturating: undoes the shift that WVQE_Block_Norm returned.
ARVESSA_API void WVQE_Block_Denorm(Word32* x, Word16 n, Word16 shift);

}  // extern "C"
