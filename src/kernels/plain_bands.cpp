// SPDX-License-Identifier: Apache-2.0
// The definitions of the kernels over the bands.

#include <algorithm>

#include "kernels/gain_curves.h"
#include "kernels/kernels.h"

namespace arvessa::kernels {
namespace {

constexpr Word16 kUnityQ8 = 256;

// e^-v in Q15, v in Q11.
Word16 expOfNegative(Word32 v) {
  const Word16 exponent = low16(-std::min(v, Word32{kMax16}));
  return static_cast<Word16>(std::min(expQ11(exponent) >> 1, Word32{kMax16}));
}

// Speech presence probability in Q15 from the likelihood ratio of the Gaussian model: 1 / (1 +
// q/(1-q) (1 + xi) e^-v), with the a priori presence 1 - q the product of the band's and the
// frame's.
Word16 presenceProbability(Word16 priorSnr, Word32 v, Word16 smoothSnr, Word16 globalPresence) {
  constexpr Word16 kMaxLikelihood = 768;  // 3.0 in Q8
  const Word16 likelihood =
      std::min(mult(add(kUnityQ8, priorSnr), expOfNegative(v)), kMaxLikelihood);  // Q8
  if (likelihood == 0) return kMax16;  // speech for certain, whatever was expected
  // 0.199 + 0.8 Q(smoothed SNR)
  const Word16 localPresence = add(6521, mult(low16(presenceCurve(smoothSnr)), 26214));
  const Word16 presence = mult(localPresence, globalPresence);
  const Word16 absence = sub(kMax16, presence);
  const Word16 odds = low16(quotient(absence * 256, presence));  // Q8
  const Word16 denominator = add(kUnityQ8, low16(lMult(odds, likelihood) >> 9));
  return low16(quotient(32767 * 256, denominator));
}

// Square root of a Q15 value in Q15.
Word16 rootQ15(Word16 value) { return low16(squareRoot(Word32{value} * 32768)); }

}  // namespace

void Plain::estimateSnr(const BandPowers& power, std::span<const Word32, kBands> speech,
                        const BasicBandSnrs<Word16>& snr) {
  constexpr Word16 kUnity = 256;          // 1.0 in Q8
  constexpr Word16 kCeiling = 25600;      // 100 in Q8, 20 dB
  constexpr Word16 kWeightRange = 29164;  // 0.89 in Q15
  constexpr Word16 kWeightFloor = 3277;   // 0.1
  for (std::size_t b = 0; b < kBands; ++b) {
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

void Plain::gainsUnderPresence(const BandSnrs& snr, std::span<const Word32, kBands> framePower,
                               std::span<const Word16, kBands> smoothSnr, Word16 globalPresence,
                               std::span<Word32, kBands> speech, const Presence& presence) {
  for (std::size_t b = 0; b < kBands; ++b) {
    const Word16 xi = snr.prior[b];
    const Word16 wiener = low16(quotient(xi * 32768, add(xi, kUnityQ8)));
    const Word32 gamma = 2048 + snr.posterior[b] * 8;  // Q11
    const Word32 v = mpy32x16(gamma, wiener);          // Q11
    const Word16 gain =
        static_cast<Word16>(std::min(mpy32x16(amplitudeFactor(v), wiener), Word32{kMax16}));
    presence.gain[b] = gain;
    // 0.8 gain^2, which is 26212 at most, and 0.2: below 1 together.
    speech[b] = mpy32x16(framePower[b], mult(mult(gain, gain), 26214)) + mpy32x16(speech[b], 6554);
    presence.probability[b] = presenceProbability(xi, v, smoothSnr[b], globalPresence);
  }
}

void Plain::mixWithFloor(std::span<const Word32, kBands> noise, Word16 floorGain,
                         std::span<const Word16, kBands> probability,
                         std::span<Word16, kBands> gain, std::span<Word16, kBands> bandGain) {
  for (std::size_t b = 0; b < kBands; ++b) {
    const Word32 units = noise[b] >> 7;
    const Word32 noisy = quotientQ15(units, units + 1);  // near 0 where there is no noise
    const Word16 floor = mult(floorGain, low16(squareRoot(noisy * 32768)));
    gain[b] = std::max(gain[b], floor);
    const Word16 present = mult(probability[b], rootQ15(gain[b]));
    const Word16 absent = mult(sub(kMax16, probability[b]), rootQ15(floor));
    const Word16 root = add(present, absent);
    bandGain[b] = mult(root, root);
  }
}

}  // namespace arvessa::kernels
