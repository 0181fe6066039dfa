#include "engine/gain_curves.h"

#include <algorithm>

#include "fixedpoint/division.h"
#include "fixedpoint/numeric.h"
#include "fixedpoint/operators.h"

extern "C" {

Word32 WVQE_Hypergeom_Gain(Word32 v) {
  using namespace arvessa;
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

Word32 WVQE_Qcurve(Word32 x) {
  using namespace arvessa;
  const Word32 inverse = quotient(32767, std::max(x, 1));            // 1/x in Q7
  const Word16 denominator = add(512, mult(19661, low16(inverse)));  // 4 + 0.6/x in Q7
  return quotient(16776704, denominator);                            // 4 in Q15 x Q7
}

void WVQE_Gain_Floor(const Word32* bandNoise, Word16* floorDb, WvqeState* state) {
  using namespace arvessa;
  Word32 sum = 0;
  Word32 extra = 0;
  for (int b = 0; b < kBands; ++b) {
    sum = lAdd(sum, bandNoise[b]);
    if (sum == kMax32) {
      sum = 0x3FFFFFFF;
      extra += 2;
    }
  }
  const Word16 target = sum <= 499999 ? Word16{7} : low16(extra + 7 + (sum - 500000) / 150000);
  int depth = state->floorLevel;
  if (target > depth) {
    ++depth;
  } else if (target + 3 < depth) {
    --depth;
  }
  depth = std::clamp(depth, 4, 15);
  *floorDb = static_cast<Word16>(-depth);
  state->floorLevel = static_cast<Word16>(depth);
}

}  // extern "C"
