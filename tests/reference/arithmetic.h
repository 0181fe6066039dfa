// SPDX-License-Identifier: Apache-2.0
// Saturating 16/32-bit operators and the numeric functions built on them. Every result is the clamp
// of an exact 64-bit integer.
#pragma once

#include <cstdint>

namespace reference {

using Word16 = std::int16_t;
using Word32 = std::int32_t;

Word16 sat16(std::int64_t value);
Word32 sat32(std::int64_t value);
Word16 lowHalf(std::int64_t value);  // low 16 bits, read as signed

Word16 VORN_saturate(Word32 L);
Word16 VORN_add(Word16 a, Word16 b);
Word16 VORN_sub(Word16 a, Word16 b);
Word16 VORN_abs_s(Word16 a);
Word16 VORN_negate(Word16 a);
Word16 VORN_extract_h(Word32 L);
Word16 VORN_extract_l(Word32 L);
Word32 VORN_L_mult(Word16 a, Word16 b);
Word16 VORN_mult(Word16 a, Word16 b);
Word16 VORN_mult_r(Word16 a, Word16 b);
Word16 VORN_round(Word32 L);
Word32 VORN_L_mac(Word32 acc, Word16 a, Word16 b);
Word32 VORN_L_msu(Word32 acc, Word16 a, Word16 b);
Word32 VORN_L_add(Word32 a, Word32 b);
Word32 VORN_L_sub(Word32 a, Word32 b);
Word32 VORN_L_negate(Word32 L);
Word32 VORN_L_abs(Word32 L);
Word32 VORN_L_deposit_h(Word16 a);
Word32 VORN_L_deposit_l(Word16 a);
Word16 VORN_norm_s(Word16 a);
Word16 VORN_norm_l(Word32 L);
Word16 VORN_shl(Word16 a, Word16 n);
Word16 VORN_shr(Word16 a, Word16 n);
Word32 VORN_L_shl(Word32 L, Word16 n);
Word32 VORN_L_shr(Word32 L, Word16 n);
Word32 VORN_L_shr_r(Word32 L, Word16 n);
Word16 VORN_div_s(Word16 num, Word16 den);
Word32 VORN_L_div32(Word32 num, Word32 den);
Word32 VORN_Mpy_32_16(Word32 L, Word16 a);
Word32 VORN_L_mult32(Word32 x, Word32 y);
Word32 VORN_L_mpy_ll(Word32 x, Word32 y);
Word32 VORN_L_saturate(double d);

Word16 WVQE_Block_Norm(Word32* x, Word16 n, Word16 headroom);
void WVQE_Block_Denorm(Word32* x, Word16 n, Word16 shift);
Word32 WVQE_L_div32(Word32 num, Word32 den);
Word32 WVQE_Exp(Word16 x);     // e^(x/2048) in Q16
Word32 WVQE_ExpTmp(Word16 x);  // 2^(x/2048) in Q16
Word32 WVQE_Sqrt(Word32 x);
Word16 WVQE_iLog4(std::uint32_t x);
Word16 WVQE_DIV32_16_Q8(Word32 num, Word32 den);
Word32 WVQE_DIV32_16_Q15(Word32 num, Word32 den);

}  // namespace reference
