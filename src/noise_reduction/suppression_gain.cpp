// SPDX-License-Identifier: Apache-2.0
#include "noise_reduction/suppression_gain.h"

#include <algorithm>

#include "kernels/gain_curves.h"
#include "noise_reduction/suppression_floor.h"

namespace arvessa {
namespace {

using kernels::kBands;

// The a priori presence of speech in the frame, 0.1 + 0.899 Q(mean smoothed SNR), Q15.
Word16 frameLevelPresence(Word32 priorSnrSum) {
  const Word16 mean = low16(quotient(priorSnrSum, kBands));
  return add(3277, mult(29458, low16(presenceCurve(mean))));
}

// 10^(-dB/20) in Q15, dB > 0.
Word16 amplitudeOfDepth(Word16 dB) {
  constexpr Word32 kNepersPerDb = 236;  // ln(10)/20 in Q11
  return static_cast<Word16>(expQ11(low16(-kNepersPerDb * dB)) >> 1);
}

}  // namespace

Word32 smoothPriorSnr(std::span<const Word16, kBands> priorSnr, std::span<Word16, kBands> smooth) {
  Word32 sum = 0;
  for (std::size_t b = 0; b < kBands; ++b) {
    // 0.7 and 0.3 in Q15. They add up to 1, so that nothing saturates.
    smooth[b] = low16((22938 * smooth[b] + 9830 * priorSnr[b]) >> 15);
    sum += smooth[b];
  }
  return sum;
}

void suppressionGains(const BandPowers& power, const BandSnrs& snr, const GainMemory& memory,
                      const kernels::Filterbank& bank, std::span<Word16> binGain) {
  const Word32 priorSnrSum = smoothPriorSnr(snr.prior, memory.priorSnr);
  Word16 gainH1[kBands];
  Word16 speechProb[kBands];
  Kernels::gainsUnderPresence(snr, power.frame, memory.priorSnr, frameLevelPresence(priorSnrSum),
                              memory.speech, {gainH1, speechProb});
  moveFloor(power.noise, memory.floorDepth);
  Word16 bandGain[kBands];
  Kernels::mixWithFloor(power.noise, amplitudeOfDepth(memory.floorDepth), speechProb, gainH1,
                        bandGain);
  Kernels::spreadToBins(bandGain, bank, binGain);
}

}  // namespace arvessa
