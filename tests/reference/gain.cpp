// SPDX-License-Identifier: Apache-2.0
// SNR estimation by a decision-directed recursion (after Ephraim and Malah 1984) and the amplitude
// gain of order 0.5 under uncertain speech presence, with its curves and its floor.
#include <algorithm>

#include "reference/engine.h"
#include "reference/tables.h"

namespace reference {
namespace {

Word16 rootQ15(Word32 q15) { return lowHalf(WVQE_Sqrt(sat32(std::int64_t{q15} * 32768))); }

}  // namespace

void WVQE_PostAndPriorSNR(Word16* postSnr, Word16* priorSnr, Word32* bandSnrState,
                          const Word32* bandPower, const Word32* bandNoise, Word16 frameNo) {
  if (frameNo == 1) std::copy(bandPower, bandPower + kBands, bandSnrState);
  for (int b = 0; b < kBands; ++b) {
    const Word32 n = (bandNoise[b] >> 7) + 1;
    const Word16 gamma = WVQE_DIV32_16_Q8(bandPower[b], n);
    postSnr[b] = std::min<Word16>(VORN_sub(gamma, 256), 25600);
    const Word32 A = bandSnrState[b];
    const Word16 G = lowHalf(WVQE_DIV32_16_Q15(A, VORN_L_add(A, n)));
    const Word16 alpha = VORN_add(VORN_mult(29164, VORN_mult(G, G)), 3277);
    const Word16 previous = WVQE_DIV32_16_Q8(A, n);
    const Word32 kept = VORN_L_mult(VORN_sub(32767, alpha), previous);
    const Word16 instant = std::max<Word16>(postSnr[b], 0);
    priorSnr[b] = std::min<Word16>(VORN_extract_h(VORN_L_mac(kept, alpha, instant)), 25600);
  }
}

void WVQE_Gain_Proc(WvqeState* state, const Word16* postSnr, const Word16* priorSnr,
                    const Word32* bandNoise, const Word32* bandPower, const Word32* bankLeft,
                    const Word16* filterLeft, const Word32* bankRight, const Word16* filterRight,
                    std::uint8_t nrEnable, Word16 nBins, Word16* binGain) {
  if (nrEnable == 0) {
    std::fill(binGain, binGain + nBins, Word16{32767});
    return;
  }
  Word32 priorSnrSum = 0;
  VORN_NR_Gain_Proc1_ASM(state->bandSmooth, priorSnr, &priorSnrSum);
  const Word16 mean = lowHalf(WVQE_L_div32(priorSnrSum, kBands));
  const Word16 globalPresence = VORN_add(3277, VORN_mult(29458, lowHalf(WVQE_Qcurve(mean))));
  Word16 gainH1[kBands];
  Word16 speechProb[kBands];
  Word16 bandGain[kBands];
  VORN_NR_Gain_Proc2_ASM(priorSnr, bandPower, gainH1, state->bandSnrState, postSnr,
                         state->bandSmooth, speechProb, globalPresence);
  Word16 floorDb = 0;
  WVQE_Gain_Floor(bandNoise, &floorDb, state);
  const Word32 linear = VORN_L_shr(WVQE_Exp(lowHalf(236 * floorDb)), 1);  // 236: ln(10)/20, Q11
  const Word16 floorGain = lowHalf(std::min(linear, 32767));
  VORN_NR_Gain_Proc3_ASM(bandNoise, gainH1, speechProb, bandGain, floorGain);
  WVQE_Spectrum_PSD(binGain, filterLeft, filterRight, bankLeft, bankRight, bandGain, nBins);
}

void VORN_NR_Gain_Proc1_ASM(Word16* bandSmooth, const Word16* priorSnr, Word32* priorSnrSum) {
  Word32 sum = 0;
  for (int b = 0; b < kBands; ++b) {
    const Word32 old = VORN_L_mult(22938, bandSmooth[b]);  // 0.7
    bandSmooth[b] = VORN_extract_h(VORN_L_mac(old, 9830, priorSnr[b]));
    sum = VORN_L_add(sum, bandSmooth[b]);
  }
  *priorSnrSum = sum;
}

void VORN_NR_Gain_Proc2_ASM(const Word16* priorSnr, const Word32* bandPower, Word16* gainH1,
                            Word32* bandSnrState, const Word16* postSnr, const Word16* bandSmooth,
                            Word16* speechProb, Word16 globalPresence) {
  for (int b = 0; b < kBands; ++b) {
    const Word16 xi = priorSnr[b];
    const Word16 W = lowHalf(WVQE_L_div32(VORN_L_shl(xi, 15), VORN_add(xi, 256)));
    const Word32 g = VORN_L_add(2048, VORN_L_shl(postSnr[b], 3));
    const Word32 v = VORN_Mpy_32_16(g, W);  // Q11
    const Word32 H = WVQE_Hypergeom_Gain(v);
    const Word16 G = lowHalf(std::min(VORN_Mpy_32_16(H, W), 32767));
    gainH1[b] = G;

    const Word16 speechShare = VORN_mult(VORN_mult(G, G), 26214);
    bandSnrState[b] = VORN_L_add(VORN_Mpy_32_16(bandPower[b], speechShare),
                                 VORN_Mpy_32_16(bandSnrState[b], 6554));

    const Word32 decay = WVQE_Exp(lowHalf(-std::int64_t{std::min(v, 32767)})) >> 1;
    const Word16 e = lowHalf(std::min(decay, 32767));
    const Word16 likelihood = std::min<Word16>(VORN_mult(VORN_add(256, xi), e), 768);
    const Word16 curve = lowHalf(WVQE_Qcurve(bandSmooth[b]));
    const Word16 localPresence = VORN_add(6521, VORN_mult(curve, 26214));
    const Word16 P = VORN_mult(localPresence, globalPresence);
    const Word16 absence = VORN_sub(32767, P);
    const Word16 r = lowHalf(WVQE_L_div32(VORN_L_shl(absence, 8), P));
    const Word16 t = lowHalf(VORN_L_mult(r, likelihood) >> 9);
    speechProb[b] = lowHalf(WVQE_L_div32(8388352, VORN_add(256, t)));
  }
}

void VORN_NR_Gain_Proc3_ASM(const Word32* bandNoise, Word16* gainH1, const Word16* speechProb,
                            Word16* bandGain, Word16 floorGain) {
  for (int b = 0; b < kBands; ++b) {
    const Word32 m = bandNoise[b] >> 7;
    const Word32 rho = WVQE_DIV32_16_Q15(m, m + 1);
    const Word16 f = VORN_mult(floorGain, rootQ15(rho));
    gainH1[b] = std::max(gainH1[b], f);
    const Word16 s1 = rootQ15(gainH1[b]);
    const Word16 s0 = rootQ15(f);
    const Word16 p = speechProb[b];
    const Word16 g = VORN_add(VORN_mult(p, s1), VORN_mult(VORN_sub(32767, p), s0));
    bandGain[b] = VORN_mult(g, g);
  }
}

Word32 WVQE_Hypergeom_Gain(Word32 v) {
  const Word32 i = VORN_L_shr(v, 10);
  if (i < 0) return 32767;
  if (i > 19) return VORN_L_add(32767, WVQE_L_div32(1087164, VORN_L_shr(v, 3)));
  const auto T = [&](Word32 at) {
    return Word32{WVQE_CONST_TABLE_HYPERGEOM_GAIN[static_cast<std::size_t>(at)]};
  };
  const Word32 frac = VORN_L_shl(VORN_L_sub(v, VORN_L_shl(i, 10)), 5);  // Q15
  const Word16 a = VORN_sub(32767, lowHalf(frac));
  const Word32 y = VORN_L_shr(VORN_L_add(a * T(i), frac * T(i + 1)), 7);     // Q21
  const Word16 s = lowHalf(WVQE_Sqrt(VORN_L_add(VORN_L_shl(v, 15), 6711)));  // Q13
  return VORN_L_shl(WVQE_L_div32(y, s), 7);
}

Word32 WVQE_Qcurve(Word32 x) {
  const Word32 atLeastOne = x <= 1 ? 1 : x;
  const Word32 t = WVQE_L_div32(32767, atLeastOne);
  const Word16 d = VORN_add(512, VORN_mult(19661, lowHalf(t)));
  return WVQE_L_div32(16776704, d);
}

void WVQE_Gain_Floor(const Word32* bandNoise, Word16* floorDb, WvqeState* state) {
  Word32 sum = 0;
  Word32 extra = 0;
  for (int b = 0; b < kBands; ++b) {
    sum = VORN_L_add(sum, bandNoise[b]);
    if (sum == 0x7FFFFFFF) {
      sum = 0x3FFFFFFF;
      extra += 2;
    }
  }
  const Word16 target = sum <= 499999 ? Word16{7} : lowHalf(extra + 7 + (sum - 500000) / 150000);
  int D = state->floorLevel;
  if (target > D) {
    ++D;
  } else if (target + 3 < D) {
    --D;
  }
  if (D > 15) {
    D = 15;
  } else if (D <= 3) {
    D = 4;
  }
  *floorDb = lowHalf(-D);
  state->floorLevel = lowHalf(D);
}

}  // namespace reference
