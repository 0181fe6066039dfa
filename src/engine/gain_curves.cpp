#include "engine/gain_curves.h"

#include <algorithm>

#include "fixedpoint/operators.h"

extern "C" {

Word32 WVQE_Hypergeom_Gain(Word32 v) { return arvessa::amplitudeFactor(v); }

Word32 WVQE_Qcurve(Word32 x) { return arvessa::presenceCurve(x); }

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
