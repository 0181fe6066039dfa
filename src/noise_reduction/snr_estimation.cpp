// SPDX-License-Identifier: Apache-2.0
#include "noise_reduction/snr_estimation.h"

#include <algorithm>

#include "arithmetic/division.h"
#include "arithmetic/operators.h"

namespace arvessa {

void estimateSnr(const BandPowers& power, bool firstFrame,
                 std::span<Word32, kernels::kBands> speech, const BasicBandSnrs<Word16>& snr) {
  constexpr Word16 kUnity = 256;          // 1.0 in Q8
  constexpr Word16 kCeiling = 25600;      // 100 in Q8, 20 dB
  constexpr Word16 kWeightRange = 29164;  // 0.89 in Q15
  constexpr Word16 kWeightFloor = 3277;   // 0.1
  if (firstFrame) std::copy(power.frame.begin(), power.frame.end(), speech.begin());

  for (std::size_t b = 0; b < kernels::kBands; ++b) {
    // In units of power.frame; a band without noise counts as one unit.
    const Word32 noise = (power.noise[b] >> 7) + 1;
    snr.posterior[b] = std::min(sub(quotientQ8(power.frame[b], noise), kUnity), kCeiling);

    const Word16 wiener = low16(quotientQ15(speech[b], lAdd(speech[b], noise)));
    const Word16 weight = add(mult(kWeightRange, mult(wiener, wiener)), kWeightFloor);
    const Word16 previous = quotientQ8(speech[b], noise);
    const Word16 current = std::max(snr.posterior[b], Word16{0});
    const Word32 combined = lMac(lMult(sub(kMax16, weight), previous), weight, current);
    snr.prior[b] = std::min(extractHigh(combined), kCeiling);
  }
}

}  // namespace arvessa
