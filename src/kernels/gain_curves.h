// SPDX-License-Identifier: Apache-2.0
#pragma once
// The curves of the suppression gain.

#include "arithmetic/division.h"
#include "arithmetic/elementary_functions.h"
#include "arithmetic/operators.h"

// T(v) = [Gamma(1.25) M(-0.25; 1; -v)]^2 in Q13 at v = 0, 0.5 .. 10.
extern "C" ARVESSA_API const unsigned short WVQE_CONST_TABLE_HYPERGEOM_GAIN[21];

namespace arvessa {

// T(v) / sqrt(v) in Q15 for v in Q11, v >= 0: the gain factor of the beta-order MMSE amplitude
// estimator with beta = 0.5 (You, Koh and Rahardja 2005). Interpolated below v = 10, 1 + 0.1296 / v
// above; about 83.1 at v = 0. A negative v gives 32767.
inline Word32 amplitudeFactor(Word32 v) {
  constexpr int kStepBits = 10;  // a table step is 0.5 in Q11
  const Word32 step = v >> kStepBits;
  if (step < 0) return kMax16;
  if (step > 19) return lAdd(kMax16, quotient(1087164, v >> 3));  // 0.1296 in Q15 x Q8
  const Word32 fraction = (v - (step << kStepBits)) << 5;         // Q15
  const Word32 left = (kMax16 - fraction) * WVQE_CONST_TABLE_HYPERGEOM_GAIN[step];
  const Word32 right = fraction * WVQE_CONST_TABLE_HYPERGEOM_GAIN[step + 1];
  const Word32 value = (left + right) >> 7;  // T in Q21
  // v in Q26 plus 0.0001, so that the root in Q13 is never 0.
  const Word16 root = low16(squareRoot((v << 15) + 6711));
  return quotient(value, root) << 7;
}

// x / (x + 0.15) in Q15, 831..32767, for an SNR x in Q8; x <= 1 counts as 1.
inline Word32 presenceCurve(Word32 x) {
  const Word32 inverse = quotient(32767, x < 1 ? 1 : x);             // 1/x in Q7
  const Word16 denominator = add(512, mult(19661, low16(inverse)));  // 4 + 0.6/x in Q7
  return quotient(16776704, denominator);                            // 4 in Q15 x Q7
}

}  // namespace arvessa
