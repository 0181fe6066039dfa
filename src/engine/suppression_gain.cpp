#include "engine/suppression_gain.h"

#include <algorithm>

#include "engine/filterbank.h"
#include "engine/gain_curves.h"
#include "fixedpoint/division.h"
#include "fixedpoint/numeric.h"
#include "fixedpoint/operators.h"

namespace arvessa {
namespace {

constexpr Word16 kUnityQ8 = 256;

// e^-v in Q15, v in Q11.
Word16 expOfNegative(Word32 v) {
  const Word16 exponent = low16(-std::min(v, Word32{kMax16}));
  return static_cast<Word16>(std::min(expQ11(exponent) >> 1, Word32{kMax16}));
}

// The a priori presence of speech in the frame, 0.1 + 0.899 Q(mean smoothed SNR), Q15.
Word16 frameLevelPresence(Word32 priorSnrSum) {
  const Word16 mean = low16(quotient(priorSnrSum, kBands));
  return add(3277, mult(29458, low16(presenceCurve(mean))));
}

// Speech presence probability in Q15 from the likelihood ratio of the Gaussian model: 1 / (1 +
// q/(1-q) (1 + xi) e^-v), with the a priori presence 1 - q the product of the band's and the
// frame's.
Word16 presenceProbability(Word16 priorSnr, Word32 v, Word16 bandSmooth, Word16 globalPresence) {
  constexpr Word16 kMaxLikelihood = 768;  // 3.0 in Q8
  const Word16 likelihood =
      std::min(mult(add(kUnityQ8, priorSnr), expOfNegative(v)), kMaxLikelihood);  // Q8
  if (likelihood == 0) return kMax16;  // speech for certain, whatever was expected
  // 0.199 + 0.8 Q(smoothed SNR)
  const Word16 localPresence = add(6521, mult(low16(presenceCurve(bandSmooth)), 26214));
  const Word16 presence = mult(localPresence, globalPresence);
  const Word16 absence = sub(kMax16, presence);
  const Word16 odds = low16(quotient(absence * 256, presence));  // Q8
  const Word16 denominator = add(kUnityQ8, low16(lMult(odds, likelihood) >> 9));
  return low16(quotient(32767 * 256, denominator));
}

// Square root of a Q15 value in Q15.
Word16 rootQ15(Word16 value) { return low16(squareRoot(Word32{value} * 32768)); }

// 10^(dB/20) in Q15, dB < 0.
Word16 amplitudeOfDb(Word16 db) {
  constexpr Word32 kNepersPerDb = 236;  // ln(10)/20 in Q11
  return static_cast<Word16>(expQ11(low16(kNepersPerDb * db)) >> 1);
}

}  // namespace
}  // namespace arvessa

extern "C" {

// About -9 dB in the lowest bands, -1 dB in bands 16 to 20.
const Word16 WVQE_SUBBAND_NOISE_SUPPRESS_TABLE[24] = {
    11610, 11610, 16406, 16406, 16406, 16406, 16406, 18402, 18402, 18402, 20654, 23170,
    23170, 23170, 24980, 26000, 29178, 30756, 30657, 30657, 29178, 23170, 19788, 16406};

void WVQE_Gain_Proc(WvqeState* state, const Word16* postSnr, const Word16* priorSnr,
                    const Word32* bandNoise, const Word32* bandPower, const Word32* bankLeft,
                    const Word16* filterLeft, const Word32* bankRight, const Word16* filterRight,
                    unsigned char nrEnable, Word16 nBins, Word16* binGain) {
  using namespace arvessa;
  if (nrEnable == 0) {
    std::fill(binGain, binGain + nBins, kMax16);
    return;
  }
  Word32 priorSnrSum = 0;
  VORN_NR_Gain_Proc1_ASM(state->bandSmooth, priorSnr, &priorSnrSum);
  const Word16 globalPresence = frameLevelPresence(priorSnrSum);

  Word16 gainH1[kBands];
  Word16 speechProb[kBands];
  VORN_NR_Gain_Proc2_ASM(priorSnr, bandPower, gainH1, state->bandSnrState, postSnr,
                         state->bandSmooth, speechProb, globalPresence);
  Word16 floorDb = 0;
  WVQE_Gain_Floor(bandNoise, &floorDb, state);
  Word16 bandGain[kBands];
  VORN_NR_Gain_Proc3_ASM(bandNoise, gainH1, speechProb, bandGain, amplitudeOfDb(floorDb));
  WVQE_Spectrum_PSD(binGain, filterLeft, filterRight, bankLeft, bankRight, bandGain, nBins);
}

void VORN_NR_Gain_Proc1_ASM(Word16* bandSmooth, const Word16* priorSnr, Word32* priorSnrSum) {
  using namespace arvessa;
  Word32 sum = 0;
  for (int b = 0; b < kBands; ++b) {
    // 0.7 and 0.3 in Q15.
    bandSmooth[b] = extractHigh(lMac(lMult(22938, bandSmooth[b]), 9830, priorSnr[b]));
    sum = lAdd(sum, bandSmooth[b]);
  }
  *priorSnrSum = sum;
}

void VORN_NR_Gain_Proc2_ASM(const Word16* priorSnr, const Word32* bandPower, Word16* gainH1,
                            Word32* bandSnrState, const Word16* postSnr, const Word16* bandSmooth,
                            Word16* speechProb, Word16 globalPresence) {
  using namespace arvessa;
  for (int b = 0; b < kBands; ++b) {
    const Word16 xi = priorSnr[b];
    const Word16 wiener = low16(quotient(xi * 32768, add(xi, kUnityQ8)));
    const Word32 gamma = 2048 + postSnr[b] * 8;  // Q11
    const Word32 v = mpy32x16(gamma, wiener);    // Q11
    const Word16 gain =
        static_cast<Word16>(std::min(mpy32x16(amplitudeFactor(v), wiener), Word32{kMax16}));
    gainH1[b] = gain;
    // 0.8 gain^2, which is 26212 at most, and 0.2: below 1 together.
    bandSnrState[b] =
        mpy32x16(bandPower[b], mult(mult(gain, gain), 26214)) + mpy32x16(bandSnrState[b], 6554);
    speechProb[b] = presenceProbability(xi, v, bandSmooth[b], globalPresence);
  }
}

void VORN_NR_Gain_Proc3_ASM(const Word32* bandNoise, Word16* gainH1, const Word16* speechProb,
                            Word16* bandGain, Word16 floorGain) {
  using namespace arvessa;
  for (int b = 0; b < kBands; ++b) {
    const Word32 noise = bandNoise[b] >> 7;
    const Word32 noisy = quotientQ15(noise, noise + 1);  // near 0 where there is no noise
    const Word16 floor = mult(floorGain, low16(squareRoot(noisy * 32768)));
    gainH1[b] = std::max(gainH1[b], floor);
    const Word16 present = mult(speechProb[b], rootQ15(gainH1[b]));
    const Word16 absent = mult(sub(kMax16, speechProb[b]), rootQ15(floor));
    const Word16 root = add(present, absent);
    bandGain[b] = mult(root, root);
  }
}

}  // extern "C"
