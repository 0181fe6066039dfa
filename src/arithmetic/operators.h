// SPDX-License-Identifier: Apache-2.0
#pragma once
// The saturating 16/32-bit operators in which the engine computes, inline.
//
// Semantics are those of the basic operators of ITU-T G.191 (Software Tool Library), without the
// overflow and carry flags: results that do not fit are replaced by the nearest bound, right shifts
// floor, and only multRound, roundHigh and lShrRound round.

#include <bit>
#include <cstdint>

#include "ArvessaTypes.h"

namespace arvessa {

inline constexpr Word16 kMax16 = 32767;
inline constexpr Word16 kMin16 = -32768;
inline constexpr Word32 kMax32 = 2147483647;
inline constexpr Word32 kMin32 = -2147483647 - 1;

// The bits of an integer as a narrower two's-complement number.
constexpr Word16 low16(Word32 value) { return static_cast<Word16>(value); }

constexpr Word16 saturate16(Word32 value) {
  if (value > kMax16) return kMax16;
  if (value < kMin16) return kMin16;
  return static_cast<Word16>(value);
}

constexpr Word32 saturate32(std::int64_t value) {
  if (value > kMax32) return kMax32;
  if (value < kMin32) return kMin32;
  return static_cast<Word32>(value);
}

constexpr Word16 add(Word16 a, Word16 b) { return saturate16(a + b); }
constexpr Word16 sub(Word16 a, Word16 b) { return saturate16(a - b); }
constexpr Word16 negate(Word16 a) { return saturate16(-a); }
constexpr Word16 absolute(Word16 a) { return a < 0 ? negate(a) : a; }

constexpr Word16 extractHigh(Word32 value) { return static_cast<Word16>(value >> 16); }
constexpr Word16 extractLow(Word32 value) { return low16(value); }
constexpr Word32 depositHigh(Word16 value) { return Word32{value} * 65536; }
constexpr Word32 depositLow(Word16 value) { return value; }

constexpr Word32 lAdd(Word32 a, Word32 b) {
  Word32 sum = 0;
  if (__builtin_add_overflow(a, b, &sum)) return a < 0 ? kMin32 : kMax32;
  return sum;
}

constexpr Word32 lSub(Word32 a, Word32 b) {
  Word32 difference = 0;
  if (__builtin_sub_overflow(a, b, &difference)) return a < 0 ? kMin32 : kMax32;
  return difference;
}

constexpr Word32 lNegate(Word32 value) { return value == kMin32 ? kMax32 : -value; }
constexpr Word32 lAbs(Word32 value) { return value < 0 ? lNegate(value) : value; }

// Q15 x Q15 -> Q31. Only -1 x -1 saturates.
constexpr Word32 lMult(Word16 a, Word16 b) {
  const Word32 product = Word32{a} * b;
  return product == 0x40000000 ? kMax32 : product * 2;
}
constexpr Word32 lMac(Word32 sum, Word16 a, Word16 b) { return lAdd(sum, lMult(a, b)); }
constexpr Word32 lMsu(Word32 sum, Word16 a, Word16 b) { return lSub(sum, lMult(a, b)); }

// Q15 x Q15 -> Q15, floored.
constexpr Word16 mult(Word16 a, Word16 b) { return saturate16((Word32{a} * b) >> 15); }
// Q15 x Q15 -> Q15, rounded.
constexpr Word16 multRound(Word16 a, Word16 b) {
  return saturate16((Word32{a} * b + 0x4000) >> 15);
}
// Upper half, rounded.
constexpr Word16 roundHigh(Word32 value) { return extractHigh(lAdd(value, 0x8000)); }

// Redundant sign bits: the left shift that normalises the value. 0 for 0.
constexpr Word16 normL(Word32 value) {
  if (value == 0) return 0;
  const auto bits = static_cast<std::uint32_t>(value);
  return static_cast<Word16>(std::countl_zero(bits ^ (bits << 1)));
}
constexpr Word16 normS(Word16 value) {
  return value == 0 ? Word16{0} : static_cast<Word16>(normL(value) - 16);
}

// Shifts take any count; a negative one shifts the other way.
constexpr Word16 shl(Word16 value, Word16 count) {
  if (count < 0) return static_cast<Word16>(value >> (count < -15 ? 15 : -count));
  return saturate16(Word32{value} * (Word32{1} << (count > 16 ? 16 : count)));
}
constexpr Word16 shr(Word16 value, Word16 count) {
  if (count >= 0) return static_cast<Word16>(value >> (count > 15 ? 15 : count));
  return saturate16(Word32{value} * (Word32{1} << (count < -16 ? 16 : -count)));
}
constexpr Word32 lShl(Word32 value, Word16 count) {
  if (count <= 0) return value >> (count < -31 ? 31 : -count);
  // From 31 places on every bit decides, and all but 0 saturates.
  const int places = count > 31 ? 31 : count;
  const Word32 limit = kMax32 >> places;
  if (value > limit) return kMax32;
  if (value < ~limit) return kMin32;
  return value << places;
}
constexpr Word32 lShr(Word32 value, Word16 count) {
  if (count >= 0) return value >> (count > 31 ? 31 : count);
  return lShl(value, static_cast<Word16>(count < -31 ? 31 : -count));
}
constexpr Word32 lShrRound(Word32 value, Word16 count) {
  if (count > 31) return 0;
  if (count <= 0) return lShr(value, count);
  return (value >> count) + ((value >> (count - 1)) & 1);
}

// Q31 x Q15 -> Q31, floored. With h and l the halves of the word, the sum of 2 h a (saturated) and
// floor(l a / 2^15) is floor(word a / 2^15), which fits, in all cases but one: a = -1 and
// h = -32768, where 2 h a saturates one unit early and the low half is still subtracted.
constexpr Word32 mpy32x16(Word32 word, Word16 a) {
  if (a == kMin16 && word < kMin32 + 65536) [[unlikely]]
    return kMax32 - (word & 0xFFFF);
  return static_cast<Word32>((std::int64_t{word} * a) >> 15);
}

// Q31 x Q31 -> Q31 without the low-by-low term: three 16-bit products, each floored, summed with
// saturation from left to right. Lies up to 3 units below the exact product.
constexpr Word32 lMult32(Word32 x, Word32 y) {
  const Word16 xHigh = extractHigh(x);
  const Word16 yHigh = extractHigh(y);
  const auto xLow = static_cast<Word32>(x & 0xFFFF);
  const auto yLow = static_cast<Word32>(y & 0xFFFF);
  const auto xHighLow = static_cast<Word32>((std::int64_t{xHigh} * yLow) >> 15);
  const auto yHighLow = static_cast<Word32>((std::int64_t{yHigh} * xLow) >> 15);
  return lAdd(lAdd(xHighLow, lMult(xHigh, yHigh)), yHighLow);
}

// The same for |x| < 0.5, where no sum can saturate: the first two terms are
// floor(xHigh y / 2^15), and a product of the low half fits a word.
constexpr Word32 lMult32ByCoefficient(Word32 x, Word32 y) {
  const auto high = static_cast<Word32>((std::int64_t{extractHigh(x) * (1 << 17)} * y) >> 32);
  return high + ((extractHigh(y) * (x & 0xFFFF)) >> 15);
}

// Q31 x Q31 -> Q31, exact product floored. Only -1 x -1 saturates.
constexpr Word32 lMpyLl(Word32 x, Word32 y) { return saturate32((std::int64_t{x} * y) >> 31); }

// Truncates toward zero. A NaN gives 0.
constexpr Word32 lSaturate(double value) {
  if (value > 2147483647.0) return kMax32;
  if (value < -2147483648.0) return kMin32;
  return value == value ? static_cast<Word32>(value) : 0;
}

}  // namespace arvessa
