// SPDX-License-Identifier: Apache-2.0
#include "abi/exported_operators.h"

#include "arithmetic/division.h"
#include "arithmetic/operators.h"

extern "C" {

Word16 VORN_saturate(Word32 L) { return arvessa::saturate16(L); }
Word16 VORN_add(Word16 a, Word16 b) { return arvessa::add(a, b); }
Word16 VORN_sub(Word16 a, Word16 b) { return arvessa::sub(a, b); }
Word16 VORN_abs_s(Word16 a) { return arvessa::absolute(a); }
Word16 VORN_negate(Word16 a) { return arvessa::negate(a); }
Word16 VORN_extract_h(Word32 L) { return arvessa::extractHigh(L); }
Word16 VORN_extract_l(Word32 L) { return arvessa::extractLow(L); }
Word32 VORN_L_mult(Word16 a, Word16 b) { return arvessa::lMult(a, b); }
Word16 VORN_mult(Word16 a, Word16 b) { return arvessa::mult(a, b); }
Word16 VORN_mult_r(Word16 a, Word16 b) { return arvessa::multRound(a, b); }
Word16 VORN_round(Word32 L) { return arvessa::roundHigh(L); }
Word32 VORN_L_mac(Word32 acc, Word16 a, Word16 b) { return arvessa::lMac(acc, a, b); }
Word32 VORN_L_msu(Word32 acc, Word16 a, Word16 b) { return arvessa::lMsu(acc, a, b); }
Word32 VORN_L_add(Word32 a, Word32 b) { return arvessa::lAdd(a, b); }
Word32 VORN_L_sub(Word32 a, Word32 b) { return arvessa::lSub(a, b); }
Word32 VORN_L_negate(Word32 L) { return arvessa::lNegate(L); }
Word32 VORN_L_abs(Word32 L) { return arvessa::lAbs(L); }
Word32 VORN_L_deposit_h(Word16 a) { return arvessa::depositHigh(a); }
Word32 VORN_L_deposit_l(Word16 a) { return arvessa::depositLow(a); }
Word16 VORN_norm_s(Word16 a) { return arvessa::normS(a); }
Word16 VORN_norm_l(Word32 L) { return arvessa::normL(L); }
Word16 VORN_shl(Word16 a, Word16 n) { return arvessa::shl(a, n); }
Word16 VORN_shr(Word16 a, Word16 n) { return arvessa::shr(a, n); }
Word32 VORN_L_shl(Word32 L, Word16 n) { return arvessa::lShl(L, n); }
Word32 VORN_L_shr(Word32 L, Word16 n) { return arvessa::lShr(L, n); }
Word32 VORN_L_shr_r(Word32 L, Word16 n) { return arvessa::lShrRound(L, n); }
Word16 VORN_div_s(Word16 num, Word16 den) { return arvessa::divS(num, den); }
Word32 VORN_L_div32(Word32 num, Word32 den) { return arvessa::lDiv32(num, den); }
Word32 VORN_Mpy_32_16(Word32 L, Word16 a) { return arvessa::mpy32x16(L, a); }
Word32 VORN_L_mult32(Word32 x, Word32 y) { return arvessa::lMult32(x, y); }
Word32 VORN_L_mpy_ll(Word32 x, Word32 y) { return arvessa::lMpyLl(x, y); }
Word32 VORN_L_saturate(double d) { return arvessa::lSaturate(d); }

}  // extern "C"
