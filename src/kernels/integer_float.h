// SPDX-License-Identifier: Apache-2.0
#pragma once
// Float operations that come down to a few integer instructions where there is no floating-point
// unit, and a routine of 30 to 40 instructions computes every operation. The results are those of
// the operations themselves, for all operands.

#include <bit>
#include <cstdint>

namespace arvessa::kernels {

inline constexpr std::uint32_t kFloatSign = 0x80000000;
inline constexpr std::uint32_t kFloatExponent = 0x7F800000;
inline constexpr std::uint32_t kFloatExponentOne = 0x00800000;

inline std::uint32_t bitsOf(float x) { return std::bit_cast<std::uint32_t>(x); }

inline bool isFinite(float x) { return (bitsOf(x) & kFloatExponent) != kFloatExponent; }

// x / 2. Above the denormals, of which the smallest normal number becomes one, that is one less in
// the exponent.
template <bool kSoftware>
inline float half(float x) {
  if constexpr (kSoftware) {
    const std::uint32_t exponent = bitsOf(x) & kFloatExponent;
    if (exponent > kFloatExponentOne && exponent < kFloatExponent) {
      return std::bit_cast<float>(bitsOf(x) - kFloatExponentOne);
    }
  }
  return x * 0.5F;
}

// x 0 of a finite x: a zero with the sign of x.
inline float zeroTimes(float x) { return std::bit_cast<float>(bitsOf(x) & kFloatSign); }

// x + zero: x itself unless that is a zero, too. -0 + 0 is 0.
inline float plusZero(float x, float zero) { return bitsOf(x) == kFloatSign ? zero : x; }

struct ComplexFloat {
  float re;
  float im;
};

// x (c + j s), or with kInverse x (c - j s); in the columns of the transform that turn by nothing,
// (1, 0), or by a right angle, (0, s), without multiplying by 1 and 0.
template <bool kInverse, bool kSoftware>
inline ComplexFloat rotated(float re, float im, float c, float s) {
  if constexpr (kSoftware) {
    const bool turnsByNothing = bitsOf(c) == bitsOf(1.0F) && bitsOf(s) == 0;
    if ((turnsByNothing || bitsOf(c) == 0) && isFinite(re) && isFinite(im)) {
      const float zeroRe = zeroTimes(re);
      const float zeroIm = zeroTimes(im);
      if (turnsByNothing) {
        return {plusZero(re, kInverse ? zeroIm : -zeroIm),
                plusZero(im, kInverse ? -zeroRe : zeroRe)};
      }
      const float productRe = re * s;
      const float productIm = im * s;
      return {plusZero(kInverse ? productIm : -productIm, zeroRe),
              plusZero(kInverse ? -productRe : productRe, zeroIm)};
    }
  }
  if constexpr (kInverse) return {(re * c) + (im * s), (c * im) - (re * s)};
  return {(re * c) - (im * s), (c * im) + (re * s)};
}

}  // namespace arvessa::kernels
