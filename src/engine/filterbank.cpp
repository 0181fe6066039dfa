#include "engine/filterbank.h"

#include <algorithm>

#include "engine/engine_state.h"
#include "fixedpoint/block_float.h"
#include "fixedpoint/lanes.h"
#include "fixedpoint/operators.h"

namespace arvessa {
namespace {

// The product of n powers, a multiple of 4, with their weights.
void weigh(const Word32* power, const Word16* weight, int n, bool headroom, Word32* product) {
  if (kHaveLanes && headroom) {
    for (int k = 0; k < n; k += 4) {
      storeLanes(product + k, mulQ15(loadLanes(power + k), loadFactors(weight + k)));
    }
    return;
  }
  for (int k = 0; k < n; ++k) product[k] = mpy32x16(power[k], weight[k]);
}

}  // namespace
}  // namespace arvessa

extern "C" {

void WVQE_Spectrum_Bank(const Word32* binPower, Word32* bandOut, const Word32* bankLeft,
                        const Word32* bankRight, const Word16* filterLeft,
                        const Word16* filterRight, Word16 K) {
  using namespace arvessa;
  const bool headroom = hasLaneHeadroom(usedBits(binPower, K));
  Word32 lowerShare[kMaxBins];
  Word32 upperShare[kMaxBins];
  weigh(binPower, filterLeft, K, headroom, lowerShare);
  weigh(binPower, filterRight, K, headroom, upperShare);
  std::fill(bandOut, bandOut + kBands, 0);
  // Neighbouring bins mostly share their bands, whose sums stay in registers meanwhile.
  int lower = bankLeft[0];
  int upper = bankRight[0];
  Word32 lowerSum = 0;
  Word32 upperSum = 0;
  for (int k = 0; k < K; ++k) {
    if (bankLeft[k] != lower) {
      bandOut[lower] = lowerSum;
      bandOut[upper] = upperSum;
      lower = bankLeft[k];
      upper = bankRight[k];
      lowerSum = bandOut[lower];
      upperSum = bandOut[upper];
    }
    lowerSum = lAdd(lowerSum, lowerShare[k]);
    upperSum = lAdd(upperSum, upperShare[k]);
  }
  bandOut[lower] = lowerSum;
  bandOut[upper] = upperSum;
}

void WVQE_Spectrum_PSD(Word16* binOut, const Word16* filterLeft, const Word16* filterRight,
                       const Word32* bankLeft, const Word32* bankRight, const Word16* bandValues,
                       Word16 K) {
  using namespace arvessa;
  // Gains, which are not negative, keep both products below 2^30 in magnitude.
  const bool plain = std::all_of(bandValues, bandValues + kBands, [](Word16 v) { return v >= 0; });
  for (int k = 0; k < K; ++k) {
    const Word16 left = bandValues[bankLeft[k]];
    const Word16 right = bandValues[bankRight[k]];
    binOut[k] = plain ? saturate16((left * filterLeft[k] + right * filterRight[k]) >> 15)
                      : extractHigh(lMac(lMult(left, filterLeft[k]), right, filterRight[k]));
  }
}

}  // extern "C"
