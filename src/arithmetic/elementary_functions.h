// SPDX-License-Identifier: Apache-2.0
#pragma once
// Exponential, square root and logarithm in fixed point.

#include <bit>

#include "arithmetic/operators.h"

namespace arvessa {

// 2^x, x in Q11, result in Q16; 0 below x = -15 and 0x7FFFFFFF from x = 15 on. The fraction goes
// through the cubic 1 + 0.6931 f + 0.2274 f^2 + 0.0794 f^3 in Q14, within 0.08 %.
constexpr Word32 exp2Q11(Word16 x) {
  const int whole = x >> 11;
  if (whole < -15) return 0;
  const int fraction = (x & 2047) << 3;              // Q14, 0..16376
  int power = 3726 + 2 * ((1301 * fraction) >> 15);  // 0.0794, 0.2274 in Q14
  power = 11356 + 2 * ((fraction * power) >> 15);    // 0.6931
  power = 16384 + 2 * ((fraction * power) >> 15);    // 1
  // From x = 15 on this shift, to the left, saturates.
  return lShr(power, static_cast<Word16>(-2 - whole));
}

// e^x, x in Q11, result in Q16; 0 below and 0x7FFFFFFF above the range |x| <= 21290 (10.4).
constexpr Word32 expQ11(Word16 x) {
  if (x > 21290) return kMax32;
  if (x < -21290) return 0;
  return exp2Q11(shl(mult(23637, x), 1));  // log2(e) / 2 in Q15
}

// floor(log4 x); 0 for 0.
constexpr Word16 floorLog4(std::uint32_t x) {
  return static_cast<Word16>((std::bit_width(x | 1) - 1) / 2);
}

// Square root of x >= 0, integer in, integer out (Q2n in, Qn out), within 0.3 % and truncated. The
// mantissa in [0.25, 1) goes through 0.2218 + 1.2923 m - 0.7707 m^2 + 0.2566 m^3 in Q14. The pieces
// of neighbouring powers of four do not meet: the function is neither an integer root (100 gives 9)
// nor monotonic.
constexpr Word32 squareRoot(Word32 x) {
  const int log4 = floorLog4(static_cast<std::uint32_t>(x));
  const int mantissa = log4 < 6 ? x << 2 * (6 - log4) : x >> 2 * (log4 - 6);  // Q14
  int root = -12627 + 2 * ((mantissa * 4204) >> 15);
  root = 21173 + 2 * ((mantissa * root) >> 15);
  root = 3634 + 2 * ((mantissa * root) >> 15);
  return log4 > 13 ? root * (1 << (log4 - 13)) : root >> (13 - log4);
}

}  // namespace arvessa
