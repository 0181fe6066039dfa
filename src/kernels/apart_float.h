// SPDX-License-Identifier: Apache-2.0
#pragma once
// Float operations where there is no floating-point unit: a number's mantissa and its exponent lie
// in words of their own, so that nothing is taken apart and put together between two operations.
// Results are those of IEEE-754 single precision, rounded to nearest, ties to even, with two
// differences: exponents have no bounds, and zeros have no sign.
//
// A number is m 2^e, times a power of two that is common to all numbers of a block. Each operation
// moves that power by a constant, which its header states, instead of correcting e. A zero has a
// small exponent, so that it never decides where the digits of a sum lie.

#include <bit>
#include <cstdint>

namespace arvessa::kernels {

// 2^28 <= |m| <= 2^29, a multiple of 2^5: 24 bits. Or the product of two numbers: 2^26 <= |m| <=
// 2^28, a multiple of 2^3. Or m = 0.
struct Apart {
  std::int32_t m;
  std::int32_t e;
};

// A float to multiply by: 2^30 <= |m| < 2^31.
using Factor = Apart;

// Exponents of numbers are small, of either sign. Those of zeros lie here, but for less than 64; of
// their squares, at the double.
inline constexpr Apart kZero = {0, -(1 << 30) + (1 << 20) + 64};

// Bits that no zero's exponent has: if an exponent has one, it is not in 0..127.
inline constexpr std::int32_t kOutOfRange = (1 << 29) | ((1 << 20) - (1 << 7));

inline Apart minus(Apart x) { return {-x.m, x.e}; }

// The sum s 2^e, |s| <= 2^30, of which less than 1 may be missing where |s| >= 2^24; `exact` tells
// whether it is. For the rounding, floor(s) is as good as s but when it looks like a tie. The
// common power grows by 2.
template <class Exact>
[[gnu::always_inline]] inline Apart roundedSum(std::int32_t s, std::int32_t e, Exact exact) {
  const std::uint32_t bits = static_cast<std::uint32_t>(s);
  const std::uint32_t leading = bits ^ (bits << 1);
  if (leading == 0) [[unlikely]]
    return kZero;
  const int n = std::countl_zero(leading);
  // 2^30 <= |v| <= 2^31, where v has 24 bits and 7 more.
  const std::int32_t v = static_cast<std::int32_t>(bits << n);
  std::int32_t m = (v >> 2) + 16;
  if ((m & 31) != 0) {
    m &= ~31;
  } else if ((v & 3) == 0 && exact()) {
    m &= ~63;
  }
  return {m, e - n};
}

// big + small, whose exponent is d >= 0 lower.
[[gnu::always_inline]] inline Apart alignedSum(Apart big, Apart small, std::int32_t d) {
  if (d > 31) d = 31;
  return roundedSum(big.m + (small.m >> d), big.e,
                    [&] { return (static_cast<std::uint32_t>(small.m) & ((1U << d) - 1)) == 0; });
}

[[gnu::always_inline]] inline Apart sum(Apart a, Apart b) {
  const std::int32_t d = a.e - b.e;
  return d >= 0 ? alignedSum(a, b, d) : alignedSum(b, a, -d);
}

[[gnu::always_inline]] inline Apart difference(Apart a, Apart b) { return sum(a, minus(b)); }

// a + b and a - b; they may be a and b.
[[gnu::always_inline]] inline void sumAndDifference(Apart a, Apart b, Apart& sum,
                                                    Apart& difference) {
  const std::int32_t d = a.e - b.e;
  if (d >= 0) {
    sum = alignedSum(a, b, d);
    difference = alignedSum(a, minus(b), d);
  } else {
    sum = alignedSum(b, a, -d);
    difference = alignedSum(minus(b), a, -d);
  }
}

// Exact but for the rounding to 24 bits: 2^27 <= |hi| has them from bit 4 on, else from bit 3. The
// common power is not moved: the factor's exponent sees to that.
[[gnu::always_inline]] inline Apart product(Apart x, Factor w) {
  const std::int64_t p = std::int64_t{x.m} * w.m;
  const auto hi = static_cast<std::int32_t>(p >> 32);
  const bool exact = static_cast<std::uint32_t>(p) == 0;
  const auto round = [&](std::int32_t unit) {
    const std::int32_t m = hi + unit / 2;
    if ((m & (unit - 1)) != 0) return m & -unit;
    return exact ? m & -2 * unit : m;
  };
  const auto bits = static_cast<std::uint32_t>(hi);
  const bool large = static_cast<std::int32_t>(bits ^ (bits << 4)) < 0;
  return {large ? round(16) : round(8), x.e + w.e};
}

// Its common power is twice that of the number, and 30.
[[gnu::always_inline]] inline Apart square(Apart x) {
  const Apart twice = {2 * x.m, x.e};
  return product(twice, twice);
}

// A float as a factor whose exponent field counts from `origin`. Zeros and denormals are numbers
// with a field of 0 here.
inline Factor factorOf(float w, std::int32_t origin) {
  const auto bits = std::bit_cast<std::uint32_t>(w);
  const auto m = static_cast<std::int32_t>(((bits << 7) & 0x3FFFFFFF) | 0x40000000);
  const auto sign = static_cast<std::int32_t>(bits) >> 31;
  return {(m ^ sign) - sign, static_cast<std::int32_t>(bits << 1 >> 24) - origin};
}

// The fields of factors that leave the common power where it is: of a product by itself, and of the
// sum of two products.
inline constexpr std::int32_t kAlone = 125;
inline constexpr std::int32_t kInSum = 123;

// m 2^(e + power), where 2^28 <= |m| <= 2^29, as a float in the range of normal numbers, or +0.
inline float floatOf(Apart x, std::int32_t power) {
  if (x.m == 0) return 0.0F;
  const std::uint32_t sign = static_cast<std::uint32_t>(x.m) & 0x80000000;
  const std::uint32_t magnitude = static_cast<std::uint32_t>(x.m < 0 ? -x.m : x.m);
  const auto exponent = static_cast<std::uint32_t>(x.e + power + 154);
  return std::bit_cast<float>(sign | ((exponent << 23) + (magnitude >> 5)));
}

}  // namespace arvessa::kernels
