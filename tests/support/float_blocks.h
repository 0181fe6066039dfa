// SPDX-License-Identifier: Apache-2.0
// Blocks of floats of every kind that rounds or keeps signs in a way of its own.
#pragma once

#include <cmath>
#include <vector>

#include "support/random.h"

namespace arvessa::test {

using Block = std::vector<float>;

enum Kind {
  kAnyAmplitude,
  kDenormals,
  kFewUnits,         // of the smallest number: every stage rounds many to zeros of either sign
  kSomeZeros,        // of both signs, among numbers
  kFewNumbers,       // among zeros of both signs
  kMostlyMinusZeros  // a sum is -0 only where all that is added is
};
inline constexpr std::initializer_list<Kind> kKinds = {
    kAnyAmplitude, kDenormals, kFewUnits, kSomeZeros, kFewNumbers, kMostlyMinusZeros};

inline Block drawBlock(Kind kind, Random& random, int n) {
  Block block(static_cast<std::size_t>(n));
  const int exponent = kind == kDenormals ? random.from(-155, -126) : random.from(-30, 8);
  const int seldom = random.from(2, 65);
  for (float& x : block) {
    const float zero = random.below(2) == 0 ? 0.0F : -0.0F;
    x = static_cast<float>(std::ldexp(random.wordOf(15), exponent));
    if (kind == kFewUnits) x = std::copysign(std::ldexp(random.below(7), -149), random.wordOf(1));
    if (kind == kSomeZeros && random.below(2) == 0) x = zero;
    if (kind == kFewNumbers && random.below(16) != 0) x = zero;
    if (kind == kMostlyMinusZeros) x = random.below(seldom) == 0 ? 0.0F : -0.0F;
  }
  return block;
}

}  // namespace arvessa::test
