#include "engine/filterbank.h"

#include <algorithm>

#include "engine/engine_state.h"
#include "fixedpoint/block_float.h"
#include "fixedpoint/lanes.h"
#include "fixedpoint/operators.h"

namespace arvessa {
namespace {

// The products of n powers with their weights.
void weigh(const Word32* power, const Word16* weight, int n, bool headroom, Word32* product) {
  int k = 0;
  if (kHaveLanes && headroom) {
    for (; k + 4 <= n; k += 4) {
      storeLanes(product + k, mulQ15(loadLanes(power + k), loadFactors(weight + k)));
    }
  }
  for (; k < n; ++k) product[k] = mpy32x16(power[k], weight[k]);
}

// Adds the shares of n bins to their bands. Neighbouring bins mostly share their bands, whose sums
// stay in registers meanwhile.
void addShares(const Word32* lowerShare, const Word32* upperShare, const Word32* bankLeft,
               const Word32* bankRight, int n, Word32* bandOut) {
  int lower = bankLeft[0];
  int upper = bankRight[0];
  Word32 lowerSum = bandOut[lower];
  Word32 upperSum = bandOut[upper];
  for (int k = 0; k < n; ++k) {
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

}  // namespace
}  // namespace arvessa

extern "C" {

void WVQE_Spectrum_Bank(const Word32* binPower, Word32* bandOut, const Word32* bankLeft,
                        const Word32* bankRight, const Word16* filterLeft,
                        const Word16* filterRight, Word16 K) {
  using namespace arvessa;
  constexpr int kChunk = 64;
  Word32 lowerShare[kChunk];
  Word32 upperShare[kChunk];
  std::fill(bandOut, bandOut + kBands, 0);
  for (int k = 0; k < K; k += kChunk) {
    const int n = std::min(kChunk, K - k);
    const bool headroom = hasLaneHeadroom(usedBits(binPower + k, n));
    weigh(binPower + k, filterLeft + k, n, headroom, lowerShare);
    weigh(binPower + k, filterRight + k, n, headroom, upperShare);
    addShares(lowerShare, upperShare, bankLeft + k, bankRight + k, n, bandOut);
  }
}

void WVQE_Spectrum_PSD(Word16* binOut, const Word16* filterLeft, const Word16* filterRight,
                       const Word32* bankLeft, const Word32* bankRight, const Word16* bandValues,
                       Word16 K) {
  using namespace arvessa;
  int k = 0;
  // Gains, which are not negative, keep both products below 2^30 in magnitude.
  if (std::all_of(bandValues, bandValues + kBands, [](Word16 v) { return v >= 0; })) {
    for (; kHaveLanes && k + 4 <= K; k += 4) {
      const Lanes sum =
          sumOfProducts(gatherHalves(bandValues, bankLeft + k), loadHalves(filterLeft + k),
                        gatherHalves(bandValues, bankRight + k), loadHalves(filterRight + k));
      storeSaturated(binOut + k, sum >> 15);
    }
    for (; k < K; ++k) {
      const Word32 sum =
          bandValues[bankLeft[k]] * filterLeft[k] + bandValues[bankRight[k]] * filterRight[k];
      binOut[k] = saturate16(sum >> 15);
    }
  }
  for (; k < K; ++k) {
    const Word32 left = lMult(bandValues[bankLeft[k]], filterLeft[k]);
    binOut[k] = extractHigh(lMac(left, bandValues[bankRight[k]], filterRight[k]));
  }
}

}  // extern "C"
