// SPDX-License-Identifier: Apache-2.0
#pragma once
// Restoring divisions, as the plain loops that define them and in closed form.
//
// The 32-bit loop adds one to the partial remainder after every successful subtraction. With
// h = floor(den / 2) its step is r <- 2 (r - h) + 1 = 2 r - (2 h - 1) if r >= h, else r <- 2 r. As
// r is an integer, r >= h is the same as 2 r > 2 h - 1: the loop is an ordinary long division by
// the odd number d = 2 h - 1, and after n steps from 0 <= r < d the quotient is floor(r 2^n / d).
// From r = d the remainder reproduces itself, and from above it grows: every bit is then set, where
// the quotient would need one bit more. Hence the clamp.

#include <cstdint>

#include "arithmetic/operators.h"

namespace arvessa {

// 15 quotient bits of num/den by shift and subtract. Any operands; meaningful for 0 <= num <= den.
constexpr Word16 divSPlain(Word16 num, Word16 den) {
  if (num == 0) return 0;
  if (num == den) return kMax16;
  Word32 quotient = 0;
  Word32 remainder = num;
  for (int bit = 0; bit < 15; ++bit) {
    quotient *= 2;
    remainder = lAdd(remainder, remainder);
    if (remainder >= den) {
      remainder = lSub(remainder, den);
      ++quotient;
    }
  }
  return low16(quotient);
}

// num/den in Q15, floored, for 0 <= num <= den and den > 0; num = den gives 32767.
constexpr Word16 divS(Word16 num, Word16 den) {
  if (num < 0 || num >= den) return divSPlain(num, den);
  return static_cast<Word16>((Word32{num} << 15) / den);
}

// 31 quotient bits of num/den with the incremented remainder, for any operands: a remainder beyond
// 32 bits is held at the bound, where it stays above h.
constexpr Word32 restoringQuotientPlain(Word32 num, Word32 den) {
  const Word32 half = den >> 1;
  Word32 quotient = 0;
  std::int64_t remainder = num;
  for (int bit = 0; bit < 31; ++bit) {
    quotient *= 2;
    if (remainder >= half) {
      remainder = saturate32((remainder - half) * 2 + 1);
      ++quotient;
    } else {
      remainder = saturate32(remainder * 2);
    }
  }
  return quotient;
}

// The same in closed form, for num >= 0 and den > 1.
constexpr Word32 restoringQuotient(Word32 num, Word32 den) {
  const auto divisor = static_cast<std::uint32_t>((den & ~1) - 1);
  if (static_cast<std::uint32_t>(num) >= divisor) return kMax32;
  return static_cast<Word32>((static_cast<std::uint64_t>(num) << 31) / divisor);
}

// num/den in Q31 for 0 <= num <= den and den > 0; num = den gives 0x7FFFFFFF. By the reduced
// divisor the quotient is about 2/den, relatively, above the exact one.
constexpr Word32 lDiv32(Word32 num, Word32 den) {
  if (num == 0) return 0;
  if (num == den) return kMax32;
  if (num < 0 || den <= 1) return restoringQuotientPlain(num, den);
  return restoringQuotient(num, den);
}

// Any operands, by the plain loop: both are normalised, num to below 2^30 <= den, divided, and the
// 31 quotient bits shifted back by the exponent.
[[gnu::noinline, gnu::cold]] constexpr Word32 quotientPlain(Word32 num, Word32 den) {
  if (num == 0) return 0;
  const Word16 numNorm = normL(num);
  const Word16 denNorm = normL(den);
  const Word32 fraction =
      restoringQuotientPlain(lShl(num, static_cast<Word16>(numNorm - 1)), lShl(den, denNorm));
  return lShr(fraction, static_cast<Word16>(numNorm + 30 - denNorm));
}

// floor(num / den) for 0 <= num < 2^30 and 0 < den: the plain loop's quotient. With den normalised
// to m = den 2^b that is floor(num 2^b / (m - 1)), which is another number only from num = m - 1
// on, that is 2^30 - 1; and there, the loop clamps. An odd m is a den above all num. Larger
// numerators also lose a bit when they are normalised.
//
// A processor without a divider takes the reciprocal of a short divisor, normalised to
// 2^15 <= d < 2^16: a table of 9 bits, and one step r <- r (2 - d r) (Newton), after which it is less
// than 2^-15.9 too small, relatively. A quotient up to 2^15 then is at most one too small.
inline constexpr std::uint32_t kExactLimit = 1U << 30;
#if defined(__arm__) && !defined(__ARM_FEATURE_IDIV)
inline constexpr bool kHasDivider = false;
#else
inline constexpr bool kHasDivider = true;
#endif
struct Reciprocals {
  std::uint8_t lowBits[256];  // of 2^24 / d in the middle of 128 d, less 256
};
inline constexpr Reciprocals kReciprocals = [] {
  Reciprocals r{};
  for (std::uint32_t i = 0; i < 256; ++i) {
    const std::uint32_t middle = (1U << 15) + 128 * i + 64;
    r.lowBits[i] = static_cast<std::uint8_t>(((1U << 24) + middle / 2) / middle - 256);
  }
  return r;
}();
// For 0 <= num < 2^31 and 0 < den < 2^16, a quotient up to 2^15.
constexpr Word32 shortQuotient(std::uint32_t num, std::uint32_t den) {
  const int zeros = std::countl_zero(den) - 16;
  const std::uint32_t d = den << zeros;
  const std::uint32_t estimate = 256U + kReciprocals.lowBits[(d >> 7) & 255];
  const std::uint32_t r = estimate * (((1U << 25) - d * estimate) >> 2);  // 2^46 / d
  auto result = static_cast<std::uint32_t>((std::uint64_t{2 * num} * r) >> 32) >> (15 - zeros);
  if (num - result * den >= den) ++result;
  return static_cast<Word32>(result);
}
constexpr Word32 exactQuotient(Word32 num, Word32 den) {
  if (!kHasDivider && den < 1 << 16 && num >> 15 < den) {
    return shortQuotient(static_cast<std::uint32_t>(num), static_cast<std::uint32_t>(den));
  }
  return static_cast<Word32>(static_cast<std::uint32_t>(num) / static_cast<std::uint32_t>(den));
}

// The same for any operands; from num = 2^30 on it may be one more or less.
constexpr Word32 quotient(Word32 num, Word32 den) {
  if (static_cast<std::uint32_t>(num) >= kExactLimit || den <= 0) [[unlikely]] {
    return quotientPlain(num, den);
  }
  return exactQuotient(num, den);
}

// For den > 0: by how much the operands of a 32/16-bit quotient are shifted, in steps of 4 bits,
// until the denominator is below 32768. The bits shifted out of the two are lost.
constexpr int reductionShift(Word32 den) {
  const int width = 32 - __builtin_clz(static_cast<std::uint32_t>(den));
  return ((width < 12 ? 12 : width) - 12) & ~3;
}

// The plain forms of the reduced quotients below, for any operands.
struct Ratio {
  Word32 num;
  Word32 den;
};
constexpr Ratio reducePlain(Ratio ratio) {
  if (ratio.den >= 0x800000) ratio = {ratio.num >> 8, ratio.den >> 8};
  if (ratio.den >= 0x80000) ratio = {ratio.num >> 4, ratio.den >> 4};
  if (ratio.den >= 0x8000) ratio = {ratio.num >> 4, ratio.den >> 4};
  return ratio;
}
[[gnu::noinline, gnu::cold]] constexpr Word16 quotientQ8Plain(Word32 num, Word32 den) {
  if ((num >> 7) >= den) return kMax16;
  const Ratio ratio = reducePlain({num, den});
  return saturate16(quotientPlain(lShl(ratio.num, 8), ratio.den));
}
[[gnu::noinline, gnu::cold]] constexpr Word32 quotientQ15Plain(Word32 num, Word32 den) {
  if ((num >> 15) >= den) return kMax16;
  const Ratio ratio = reducePlain({num, den});
  return quotientPlain(saturate32(std::int64_t{lShl(ratio.num, 15)} - ratio.num), ratio.den);
}

// num/den in Q8 for 0 <= num and 0 < den; 32767 from a ratio of 128 on, so that the reduced
// numerator is below 2^22.
constexpr Word16 quotientQ8(Word32 num, Word32 den) {
  if (num < 0 || den <= 0) [[unlikely]]
    return quotientQ8Plain(num, den);
  if ((num >> 7) >= den) return kMax16;
  const int shift = reductionShift(den);
  const Word32 value = exactQuotient((num >> shift) << 8, den >> shift);
  return static_cast<Word16>(value > kMax16 ? kMax16 : value);
}

// num/den scaled by 32767 for 0 <= num and 0 < den; 32767 from a ratio of 32768 on.
constexpr Word32 quotientQ15(Word32 num, Word32 den) {
  if (num < 0 || den <= 0) [[unlikely]]
    return quotientQ15Plain(num, den);
  if ((num >> 15) >= den) return kMax16;
  const int shift = reductionShift(den);
  const Word32 reduced = num >> shift;
  if (reduced > kMax16) [[unlikely]]
    return quotientQ15Plain(num, den);
  return exactQuotient(reduced * 32767, den >> shift);
}

}  // namespace arvessa
