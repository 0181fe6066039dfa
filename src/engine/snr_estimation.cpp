#include "engine/snr_estimation.h"

#include <algorithm>

#include "engine/engine_state.h"
#include "fixedpoint/division.h"
#include "fixedpoint/operators.h"

extern "C" void WVQE_PostAndPriorSNR(Word16* postSnr, Word16* priorSnr, Word32* bandSnrState,
                                     const Word32* bandPower, const Word32* bandNoise,
                                     Word16 frameNo) {
  using namespace arvessa;
  constexpr Word16 kUnity = 256;          // 1.0 in Q8
  constexpr Word16 kCeiling = 25600;      // 100 in Q8, 20 dB
  constexpr Word16 kWeightRange = 29164;  // 0.89 in Q15
  constexpr Word16 kWeightFloor = 3277;   // 0.1
  if (frameNo == 1) std::copy(bandPower, bandPower + kBands, bandSnrState);

  for (int b = 0; b < kBands; ++b) {
    // In units of bandPower; a band without noise counts as one unit.
    const Word32 noise = (bandNoise[b] >> 7) + 1;
    const Word32 speech = bandSnrState[b];
    postSnr[b] = std::min(sub(quotientQ8(bandPower[b], noise), kUnity), kCeiling);

    const Word16 wiener = low16(quotientQ15(speech, lAdd(speech, noise)));
    const Word16 weight = add(mult(kWeightRange, mult(wiener, wiener)), kWeightFloor);
    const Word16 previous = quotientQ8(speech, noise);
    const Word32 combined =
        lMac(lMult(sub(kMax16, weight), previous), weight, std::max(postSnr[b], Word16{0}));
    priorSnr[b] = std::min(extractHigh(combined), kCeiling);
  }
}
