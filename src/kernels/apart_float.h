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

// Exponents of numbers are small, of either sign. Those of zeros lie here, but for less than 16; of
// their squares, at the double.
inline constexpr Apart kZero = {0, -(1 << 30) + (1 << 20) + 16};

// Bits of which the exponent of no zero has any, nor that of a number in 0..2^bits-1.
constexpr std::int32_t beyond(int bits) { return (1 << 29) | ((1 << 20) - (1 << bits)); }

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

// Two numbers under the larger of their exponents: `small` is to be moved `d` places down.
struct Aligned {
  std::int32_t e;
  std::int32_t small;
  std::int32_t d;

  bool exact() const { return (static_cast<std::uint32_t>(small) & ((1U << d) - 1)) == 0; }
};

// From 31 places on, what is left of a number is its sign.
[[gnu::always_inline]] inline std::int32_t limited(std::int32_t d) { return d > 31 ? 31 : d; }

[[gnu::always_inline]] inline Apart sum(Apart a, Apart b) {
  Aligned terms = {a.e, b.m, a.e - b.e};
  std::int32_t s;
  if (terms.d >= 0) {
    terms.d = limited(terms.d);
    s = a.m + (b.m >> terms.d);
  } else {
    terms = {b.e, a.m, limited(-terms.d)};
    s = b.m + (a.m >> terms.d);
  }
  return roundedSum(s, terms.e, [&] { return terms.exact(); });
}

[[gnu::always_inline]] inline Apart difference(Apart a, Apart b) { return sum(a, minus(b)); }

// a + b and a - b; they may be a and b.
[[gnu::always_inline]] inline void sumAndDifference(Apart a, Apart b, Apart& sum,
                                                    Apart& difference) {
  Aligned terms = {a.e, b.m, a.e - b.e};
  std::int32_t s;
  std::int32_t r;
  if (terms.d >= 0) {
    terms.d = limited(terms.d);
    s = a.m + (b.m >> terms.d);
    r = a.m + (-b.m >> terms.d);
  } else {
    terms = {b.e, a.m, limited(-terms.d)};
    s = (a.m >> terms.d) + b.m;
    r = (a.m >> terms.d) - b.m;
  }
  const auto exact = [&] { return terms.exact(); };
  sum = roundedSum(s, terms.e, exact);
  difference = roundedSum(r, terms.e, exact);
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

// -0 is a zero, too.
inline bool isZero(float x) { return std::bit_cast<std::uint32_t>(x) << 1 == 0; }

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
