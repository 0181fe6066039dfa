// SPDX-License-Identifier: Apache-2.0
#pragma once
// The exported names of the saturating operators (arithmetic/operators.h, arithmetic/division.h),
// with the argument order and types that callers link to. Pure functions, any thread, any operands.
// `a`, `b`: Q15 or any 16-bit format; `L`, `x`, `y`: 32-bit; `n`: shift count, negative to shift
// the other way.

#include "ArvessaTypes.h"

extern "C" {

ARVESSA_API Word16 VORN_saturate(Word32 L);
ARVESSA_API Word16 VORN_add(Word16 a, Word16 b);
ARVESSA_API Word16 VORN_sub(Word16 a, Word16 b);
ARVESSA_API Word16 VORN_abs_s(Word16 a);
ARVESSA_API Word16 VORN_negate(Word16 a);
ARVESSA_API Word16 VORN_extract_h(Word32 L);
ARVESSA_API Word16 VORN_extract_l(Word32 L);
ARVESSA_API Word32 VORN_L_mult(Word16 a, Word16 b);
ARVESSA_API Word16 VORN_mult(Word16 a, Word16 b);
ARVESSA_API Word16 VORN_mult_r(Word16 a, Word16 b);
ARVESSA_API Word16 VORN_round(Word32 L);
ARVESSA_API Word32 VORN_L_mac(Word32 acc, Word16 a, Word16 b);
ARVESSA_API Word32 VORN_L_msu(Word32 acc, Word16 a, Word16 b);
ARVESSA_API Word32 VORN_L_add(Word32 a, Word32 b);
ARVESSA_API Word32 VORN_L_sub(Word32 a, Word32 b);
ARVESSA_API Word32 VORN_L_negate(Word32 L);
ARVESSA_API Word32 VORN_L_abs(Word32 L);
ARVESSA_API Word32 VORN_L_deposit_h(Word16 a);
ARVESSA_API Word32 VORN_L_deposit_l(Word16 a);
ARVESSA_API Word16 VORN_norm_s(Word16 a);
ARVESSA_API Word16 VORN_norm_l(Word32 L);
ARVESSA_API Word16 VORN_shl(Word16 a, Word16 n);
ARVESSA_API Word16 VORN_shr(Word16 a, Word16 n);
ARVESSA_API Word32 VORN_L_shl(Word32 L, Word16 n);
ARVESSA_API Word32 VORN_L_shr(Word32 L, Word16 n);
ARVESSA_API Word32 VORN_L_shr_r(Word32 L, Word16 n);

// Quotients for 0 <= num <= den and 0 < den, in Q15 and Q31; other operands give some value. The
// second lies above the exact quotient by about 2/den, relatively: use it for normalised operands.
ARVESSA_API Word16 VORN_div_s(Word16 num, Word16 den);
ARVESSA_API Word32 VORN_L_div32(Word32 num, Word32 den);

// Q31 products: by a Q15 factor; without the low-by-low term; exact.
ARVESSA_API Word32 VORN_Mpy_32_16(Word32 L, Word16 a);
ARVESSA_API Word32 VORN_L_mult32(Word32 x, Word32 y);
ARVESSA_API Word32 VORN_L_mpy_ll(Word32 x, Word32 y);

ARVESSA_API Word32 VORN_L_saturate(double d);

}  // extern "C"
