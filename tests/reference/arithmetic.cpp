// SPDX-License-Identifier: Apache-2.0
// Operators of the ITU-T G.191 kind and the numeric functions above them, in plain 64-bit integers.
// Divisions are the restoring loops bit by bit, because their remainder rule (one added after every
// successful subtraction) is part of the result. Operands outside a domain give some defined value.
#include "reference/arithmetic.h"

#include <algorithm>

namespace reference {
namespace {

using Wide = std::int64_t;

constexpr Word32 kMax32 = INT32_MAX;
constexpr Word32 kMin32 = INT32_MIN;

// The exact value * 2^n for n >= 0, clamped to 32 bits; beyond 32 places only the sign is left.
Word32 shiftLeft(Wide value, int n) { return sat32(value * (Wide{1} << std::min(n, 32))); }

Wide shiftRight(Wide value, int n) { return value >> std::min(n, 63); }

// 31 quotient bits of num / den, for num and den already placed below the sign bit.
Wide restoringQuotient(Wide num, Wide den) {
  const Wide h = den >> 1;
  Wide q = 0;
  for (int step = 0; step < 31; ++step) {
    q = sat32(2 * q);
    if (num >= h) {
      num = (num - h) * 2 + 1;
      q = q + 1;
    } else {
      num = sat32(2 * num);
    }
  }
  return q;
}

// 2^(x/2048) in Q16 from an exponent in Q11.
Word32 powerOfTwo(Word16 x) {
  const Word16 i = VORN_shr(x, 11);
  if (i > 14) return kMax32;
  if (i < -15) return 0;
  const Word16 f = VORN_shl(lowHalf(Wide{x} - VORN_shl(i, 11)), 3);  // Q14
  Word16 t = VORN_shl(VORN_mult(1301, f), 1);
  t = VORN_add(3726, t);
  t = VORN_shl(VORN_mult(f, t), 1);
  t = VORN_add(11356, t);
  t = VORN_shl(VORN_mult(f, t), 1);
  t = VORN_add(16384, t);
  return VORN_L_shr(t, lowHalf(-2 - i));
}

// Brings the denominator below 2^15 and drops the same bits from the numerator.
void reduceRatio(Word32& num, Word32& den) {
  const auto drop = [&](int n) {
    num >>= n;
    den >>= n;
  };
  if (den >= 0x800000) drop(8);
  if (den >= 0x80000) drop(4);
  if (den >= 0x8000) drop(4);
}

}  // namespace

Word16 sat16(Wide value) {
  return static_cast<Word16>(std::clamp<Wide>(value, INT16_MIN, INT16_MAX));
}
Word32 sat32(Wide value) { return static_cast<Word32>(std::clamp<Wide>(value, kMin32, kMax32)); }
Word16 lowHalf(Wide value) { return static_cast<Word16>(value); }

Word16 VORN_saturate(Word32 L) { return sat16(L); }
Word16 VORN_add(Word16 a, Word16 b) { return sat16(Wide{a} + b); }
Word16 VORN_sub(Word16 a, Word16 b) { return sat16(Wide{a} - b); }
Word16 VORN_abs_s(Word16 a) { return sat16(a < 0 ? -Wide{a} : a); }
Word16 VORN_negate(Word16 a) { return sat16(-Wide{a}); }
Word16 VORN_extract_h(Word32 L) { return lowHalf(L >> 16); }
Word16 VORN_extract_l(Word32 L) { return lowHalf(L); }
Word32 VORN_L_mult(Word16 a, Word16 b) { return sat32(2 * Wide{a} * b); }
Word16 VORN_mult(Word16 a, Word16 b) { return lowHalf(sat32(2 * Wide{a} * b) >> 16); }
Word16 VORN_mult_r(Word16 a, Word16 b) { return sat16((Wide{a} * b + 0x4000) >> 15); }
Word16 VORN_round(Word32 L) { return lowHalf(sat32(Wide{L} + 0x8000) >> 16); }
Word32 VORN_L_mac(Word32 acc, Word16 a, Word16 b) { return sat32(Wide{acc} + VORN_L_mult(a, b)); }
Word32 VORN_L_msu(Word32 acc, Word16 a, Word16 b) { return sat32(Wide{acc} - VORN_L_mult(a, b)); }
Word32 VORN_L_add(Word32 a, Word32 b) { return sat32(Wide{a} + b); }
Word32 VORN_L_sub(Word32 a, Word32 b) { return sat32(Wide{a} - b); }
Word32 VORN_L_negate(Word32 L) { return sat32(-Wide{L}); }
Word32 VORN_L_abs(Word32 L) { return sat32(L < 0 ? -Wide{L} : L); }
Word32 VORN_L_deposit_h(Word16 a) { return static_cast<Word32>(Wide{a} * 65536); }
Word32 VORN_L_deposit_l(Word16 a) { return a; }

Word16 VORN_norm_s(Word16 a) {
  Wide v = a;
  Word16 n = 0;
  for (; v != 0 && v >= -0x4000 && v < 0x4000; v *= 2) ++n;
  return n;
}

Word16 VORN_norm_l(Word32 L) {
  Wide v = L;
  Word16 n = 0;
  for (; v != 0 && v >= -0x40000000 && v < 0x40000000; v *= 2) ++n;
  return n;
}

Word16 VORN_shl(Word16 a, Word16 n) {
  return n >= 0 ? sat16(shiftLeft(a, n)) : lowHalf(shiftRight(a, -n));
}
Word16 VORN_shr(Word16 a, Word16 n) {
  return n >= 0 ? lowHalf(shiftRight(a, n)) : sat16(shiftLeft(a, -n));
}
Word32 VORN_L_shl(Word32 L, Word16 n) {
  return n > 0 ? shiftLeft(L, n) : static_cast<Word32>(shiftRight(L, -n));
}
Word32 VORN_L_shr(Word32 L, Word16 n) {
  return n >= 0 ? static_cast<Word32>(shiftRight(L, n)) : shiftLeft(L, -n);
}
Word32 VORN_L_shr_r(Word32 L, Word16 n) {
  if (n > 31) return 0;
  if (n <= 0) return shiftLeft(L, -n);
  return static_cast<Word32>((Wide{L} >> n) + ((Wide{L} >> (n - 1)) & 1));
}

Word16 VORN_div_s(Word16 num, Word16 den) {
  if (num == 0) return 0;
  if (num == den) return 32767;
  Wide rest = num;
  Wide q = 0;
  for (int step = 0; step < 15; ++step) {
    q = sat32(2 * q);
    rest = sat32(2 * rest);
    if (rest >= den) {
      rest = rest - den;
      q = q + 1;
    }
  }
  return lowHalf(q);
}

Word32 VORN_L_div32(Word32 num, Word32 den) {
  if (num == 0) return 0;
  if (num == den) return kMax32;
  return sat32(restoringQuotient(num, den));
}

Word32 VORN_Mpy_32_16(Word32 L, Word16 a) {
  const Wide h = L >> 16;
  const Wide l = L & 0xFFFF;
  return sat32(sat32(2 * h * a) + ((l * a) >> 15));
}

Word32 VORN_L_mult32(Word32 x, Word32 y) {
  const Wide hx = x >> 16;
  const Wide lx = x & 0xFFFF;
  const Wide hy = y >> 16;
  const Wide ly = y & 0xFFFF;
  const Wide inner = sat32(((hx * ly) >> 15) + sat32(2 * hx * hy));
  return sat32(inner + ((hy * lx) >> 15));
}

Word32 VORN_L_mpy_ll(Word32 x, Word32 y) { return sat32((Wide{x} * y) >> 31); }

Word32 VORN_L_saturate(double d) {
  if (d > 2147483647.0) return kMax32;
  if (d < -2147483648.0) return kMin32;
  return d == d ? static_cast<Word32>(d) : 0;
}

Word16 WVQE_Block_Norm(Word32* x, Word16 n, Word16 headroom) {
  Word32 largest = 0;
  for (int i = 0; i < n; ++i) largest = std::max(largest, VORN_L_abs(x[i]));
  const Word16 shift = lowHalf(VORN_norm_l(largest) - headroom);
  for (int i = 0; i < n; ++i) x[i] = VORN_L_shl(x[i], shift);
  return shift;
}

void WVQE_Block_Denorm(Word32* x, Word16 n, Word16 shift) {
  const Word16 s = VORN_negate(shift);
  for (int i = 0; i < n; ++i) x[i] = VORN_L_shl(x[i], s);
}

Word32 WVQE_L_div32(Word32 num, Word32 den) {
  if (num == 0) return 0;
  if (num == den) return 1;
  const int a = VORN_norm_l(num);
  const int b = VORN_norm_l(den);
  const Wide scaledNum = a == 0 ? Wide{num} >> 1 : Wide{num} * (Wide{1} << (a - 1));
  const Wide scaledDen = Wide{den} * (Wide{1} << b);
  const int e = a + 30 - b;
  const Wide q = restoringQuotient(scaledNum, scaledDen);
  return e >= 0 ? static_cast<Word32>(q >> e) : shiftLeft(q, -e);
}

Word32 WVQE_Exp(Word16 x) {
  if (x > 21290) return kMax32;
  if (x < -21290) return 0;
  return powerOfTwo(VORN_shl(VORN_mult(23637, x), 1));  // 23637: log2(e) / 2 in Q15
}

Word32 WVQE_ExpTmp(Word16 x) { return powerOfTwo(x); }

Word32 WVQE_Sqrt(Word32 x) {
  const int k = WVQE_iLog4(static_cast<std::uint32_t>(x));
  const int s = 2 * (k - 6);
  const Word16 m = lowHalf(s >= 0 ? shiftRight(x, s) : shiftLeft(x, -s));  // Q14, 0.25 to 1
  Word16 t = VORN_shl(VORN_mult(m, 4204), 1);
  t = VORN_add(-12627, t);
  t = VORN_shl(VORN_mult(m, t), 1);
  t = VORN_add(21173, t);
  t = VORN_shl(VORN_mult(m, t), 1);
  t = VORN_add(3634, t);
  const int r = 13 - k;
  return r >= 0 ? static_cast<Word32>(shiftRight(t, r)) : shiftLeft(t, -r);
}

Word16 WVQE_iLog4(std::uint32_t x) {
  Word16 k = 0;
  if (x >= 65536) {
    x >>= 16;
    k = 8;
  }
  if (x > 255) {
    x >>= 8;
    k = lowHalf(k + 4);
  }
  if (x > 15) {
    x >>= 4;
    k = lowHalf(k + 2);
  }
  if (x > 3) k = lowHalf(k + 1);
  return k;
}

Word16 WVQE_DIV32_16_Q8(Word32 num, Word32 den) {
  if ((num >> 7) >= den) return 32767;
  reduceRatio(num, den);
  return VORN_saturate(WVQE_L_div32(VORN_L_shl(num, 8), den));
}

Word32 WVQE_DIV32_16_Q15(Word32 num, Word32 den) {
  if ((num >> 15) >= den) return 32767;
  reduceRatio(num, den);
  return WVQE_L_div32(static_cast<Word32>(Wide{VORN_L_shl(num, 15)} - num), den);
}

}  // namespace reference
