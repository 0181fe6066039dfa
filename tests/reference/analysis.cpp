// SPDX-License-Identifier: Apache-2.0
// Analysis frame, spectrum and band energies, then the minima-controlled noise estimate (after
// Cohen 2002) with its hard decisions per bin and per frame.
#include <algorithm>

#include "reference/engine.h"
#include "reference/fft.h"
#include "reference/tables.h"

namespace reference {
namespace {

constexpr Word32 kPreEmphasis = -866019132;  // -0.403272 in Q31

}  // namespace

void WVQE_Analysis(Word32* inWork, Word32* powerSpec, Word32* bandPower, Word32* timeBuf,
                   Word32* spectrum, Word32* specWork, const Word16*, const Word16*, const Word16*,
                   const Word32* bankLeft, const Word16* filterLeft, const Word32* bankRight,
                   const Word16* filterRight, Word16 N, Word16 K, Word16, Word16,
                   WvqeState* state) {
  const Word16 s = WVQE_Block_Norm(inWork, N, 6);
  const Word16 d = VORN_sub(s, state->inputExp);
  state->inputExp = s;
  const Word16 sizeCode = K == 64 ? 0 : K == 128 ? 1 : 2;
  const Word16 size = lowHalf(2 * K);
  VORN_WVQE_Analysis1_ASM(timeBuf, inWork, state->anaHistory, d, &state->anaMem, sizeCode);
  WVQE_FFT(timeBuf, size, 0, 0, nullptr, nullptr, spectrum);
  std::fill(spectrum, spectrum + 4, 0);  // DC, Nyquist and bin 1
  std::copy(spectrum, spectrum + size, specWork);
  WVQE_Block_Denorm(specWork, size, s);
  VORN_WVQE_Analysis2_ASM(specWork, powerSpec, sizeCode);
  WVQE_Spectrum_Bank(powerSpec, bandPower, bankLeft, bankRight, filterLeft, filterRight, K);
}

void VORN_WVQE_Analysis1_ASM(Word32* timeBuf, const Word32* inWork, Word32* anaHistory, Word16 d,
                             Word32* anaMem, Word16 sizeCode) {
  const int N = 80 << sizeCode;
  const int H = 24 << sizeCode;
  const Word16* win = sizeCode == 0   ? WVQE_CONST_TABLE_WIN_8k.data()
                      : sizeCode == 1 ? WVQE_CONST_TABLE_WIN_16k
                                      : WVQE_CONST_TABLE_WIN_32k;
  for (int i = 0; i < H; ++i) timeBuf[i] = VORN_L_shl(anaHistory[i], d);
  Word32 previous = VORN_L_shl(*anaMem, d);
  for (int n = 0; n < N; ++n) {
    timeBuf[H + n] = VORN_L_add(inWork[n], VORN_L_mult32(kPreEmphasis, previous));
    previous = inWork[n];
  }
  *anaMem = inWork[N - 1];
  std::fill(timeBuf + H + N, timeBuf + H + N + H, 0);
  std::copy(timeBuf + N, timeBuf + N + H, anaHistory);
  for (int i = 0; i < N + H; ++i) timeBuf[i] = VORN_Mpy_32_16(timeBuf[i], win[i]);
}

void VORN_WVQE_Analysis2_ASM(const Word32* spectrum, Word32* power, Word16 sizeCode) {
  const int K = 64 << sizeCode;
  const Word16 h = VORN_round(spectrum[0]);
  power[0] = VORN_L_mult(h, h);
  for (int k = 1; k < K; ++k) {
    const Word16 a = VORN_round(spectrum[2 * k]);
    const Word16 b = VORN_round(spectrum[2 * k + 1]);
    power[k] = VORN_L_mac(VORN_L_mult(a, a), b, b);
  }
}

void WVQE_Spectrum_Bank(const Word32* binPower, Word32* bandOut, const Word32* bankLeft,
                        const Word32* bankRight, const Word16* filterLeft,
                        const Word16* filterRight, Word16 K) {
  std::fill(bandOut, bandOut + kBands, 0);
  for (int k = 0; k < K; ++k) {
    Word32& left = bandOut[bankLeft[k]];
    left = VORN_L_add(left, VORN_Mpy_32_16(binPower[k], filterLeft[k]));
    Word32& right = bandOut[bankRight[k]];
    right = VORN_L_add(right, VORN_Mpy_32_16(binPower[k], filterRight[k]));
  }
}

void WVQE_Spectrum_PSD(Word16* binOut, const Word16* filterLeft, const Word16* filterRight,
                       const Word32* bankLeft, const Word32* bankRight, const Word16* bandValues,
                       Word16 K) {
  for (int k = 0; k < K; ++k) {
    const Word32 left = VORN_L_mult(bandValues[bankLeft[k]], filterLeft[k]);
    binOut[k] = VORN_extract_h(VORN_L_mac(left, bandValues[bankRight[k]], filterRight[k]));
  }
}

void WVQE_Noise_Vad(WvqeState* state, int K, const Word32* powerSpec, unsigned char* binActive) {
  const int n = state->frameCountSat;
  Word32* S = state->psdSmooth;
  const Word32 alpha = std::max(WVQE_L_div32(32767, n), 328);
  VORN_WVQE_Noise_Vad1_ASM(S, powerSpec, K);
  if (n == 1) {
    std::copy(S, S + K, state->psdMin);
    std::copy(S, S + K, state->psdTmpMin);
  }
  const int threshold = n <= 99 ? 30 : n <= 999 ? 80 : 150;
  const bool restart = static_cast<Word32>(state->minWinCount) > threshold;
  if (restart) state->minWinCount = 0;
  for (int k = 0; k < K; ++k) {
    Word32& minimum = state->psdMin[k];
    Word32& running = state->psdTmpMin[k];
    if (restart) {
      minimum = std::min(running, S[k]);
      running = S[k];
    } else {
      running = std::min(running, S[k]);
      minimum = std::min(minimum, S[k]);
    }
  }
  VORN_WVQE_Noise_Vad2_ASM(S, state->psdMin, binActive, &state->vadFlag, lowHalf(K));
  VORN_WVQE_Noise_Vad3_ASM(powerSpec, state->noisePsd, binActive, lowHalf(alpha), lowHalf(K));
}

void VORN_WVQE_Noise_Vad1_ASM(Word32* psdSmooth, const Word32* powerSpec, int K) {
  const Word32* P = powerSpec;
  for (int k = 0; k < K; ++k) {
    const Word32 old = VORN_Mpy_32_16(psdSmooth[k], 26214);  // 0.8
    if (k == 0 || k == K - 1) {
      psdSmooth[k] = VORN_L_add(old, VORN_Mpy_32_16(P[k], 6554));  // 0.2
    } else {
      const Word32 lower = VORN_L_add(old, VORN_Mpy_32_16(P[k - 1], 1638));
      const Word32 upper = VORN_L_add(VORN_Mpy_32_16(P[k], 3277), VORN_Mpy_32_16(P[k + 1], 1638));
      psdSmooth[k] = VORN_L_add(lower, upper);
    }
  }
}

void VORN_WVQE_Noise_Vad2_ASM(const Word32* psdSmooth, const Word32* psdMin,
                              unsigned char* binActive, Word16* vadFlag, Word16 K) {
  Word32 sumS = 0;
  Word32 sumM = 0;
  for (int k = 0; k < K; ++k) {
    binActive[k] = VORN_Mpy_32_16(psdSmooth[k], 10158) > VORN_L_add(psdMin[k], 20) ? 1 : 0;
    sumS = VORN_L_add(sumS, psdSmooth[k]);
    sumM = VORN_L_add(sumM, psdMin[k]);
  }
  *vadFlag = VORN_Mpy_32_16(sumS, 2000) > VORN_L_add(sumM, 20) ? 1 : 0;
}

void VORN_WVQE_Noise_Vad3_ASM(const Word32* powerSpec, Word32* noisePsd,
                              const unsigned char* binActive, Word16 alpha, Word16 K) {
  const Word16 keep = lowHalf(32767 - alpha);
  for (int k = 0; k < K; ++k) {
    const Word32 P = powerSpec[k];
    Word32& N = noisePsd[k];
    if ((N >> 7) > P || binActive[k] == 0) {
      const Word32 fresh = VORN_Mpy_32_16(VORN_L_shl(P, 7), alpha);
      N = std::max(0, VORN_L_add(fresh, VORN_Mpy_32_16(N, keep)));
    }
  }
}

}  // namespace reference
