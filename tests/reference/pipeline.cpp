// SPDX-License-Identifier: Apache-2.0
// One frame through the engine: entry checks, noise reduction with overlap-add and de-emphasis,
// automatic gain control, and the state behind them.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "reference/agc.h"
#include "reference/engine.h"
#include "reference/fft.h"
#include "reference/tables.h"

namespace reference {
namespace {

constexpr Word32 kDeEmphasis = 0x339E673C;  // 0.40327 in Q31

// The filterbank of a rate.
struct Bank {
  const Word32* left;
  const Word16* leftWeights;
  const Word32* right;
  const Word16* rightWeights;
};

Bank bankOf(int bins) {
  if (bins == 64) {
    return {WVQE_CONST_TABLE_BANK_LEFT_8K.data(), WVQE_CONST_TABLE_FILTER_LEFT_8K.data(),
            WVQE_CONST_TABLE_BANK_RIGHT_8K.data(), WVQE_CONST_TABLE_FILTER_RIGHT_8K};
  }
  if (bins == 128) {
    return {WVQE_CONST_TABLE_BANK_LEFT_16K.data(), WVQE_CONST_TABLE_FILTER_LEFT_16K.data(),
            WVQE_CONST_TABLE_BANK_RIGHT_16K.data(), WVQE_CONST_TABLE_FILTER_RIGHT_16K};
  }
  return {WVQE_CONST_TABLE_BANK_LEFT_32K.data(), WVQE_CONST_TABLE_FILTER_LEFT_32K.data(),
          WVQE_CONST_TABLE_BANK_RIGHT_32K.data(), WVQE_CONST_TABLE_FILTER_RIGHT_32K};
}

bool misaligned(const void* pointer) { return reinterpret_cast<std::uintptr_t>(pointer) % 4 != 0; }

}  // namespace

void WVQE_NR_Proc(const Word16* in, Word16* out, const VornConfig* cfg, WvqeState* state) {
  constexpr int kN[4] = {80, 160, 320, 480};
  constexpr int kK[4] = {64, 128, 256, 128};
  constexpr Word16 kL[4] = {24, 48, 96, 48};
  const int rate = cfg->rateCode;
  if (state->frameCountSat != 32767) ++state->frameCountSat;
  ++state->minWinCount;
  WVQE_MainProcess(in, state, kN[rate], kK[rate], kL[rate], lowHalf(rate), cfg->nrEnable, out);
}

void WVQE_MainProcess(const Word16* in, WvqeState* state, int N, int K, Word16 L, Word16 rateCode,
                      unsigned char nrEnable, Word16* out) {
  const Bank b = bankOf(K);
  Word16 lowBand[160], highBand[480], postSnr[kBands], priorSnr[kBands], binGain[256];
  Word32 inWork[320], timeBuf[512], spectrum[512], specWork[512], powerSpec[256];
  Word32 bandPower[kBands], bandNoise[kBands];
  unsigned char binActive[256];
  const Word16 bins = lowHalf(K);
  const Word16 size = lowHalf(2 * K);
  std::fill(binActive, binActive + K, static_cast<unsigned char>(1));
  const Word16* frame = in;
  if (rateCode == 3) {
    AEC_Split_Ne(in, lowBand, highBand, 160, state->splitLpfX, state->splitLpfY, state->splitHpfX,
                 state->splitHpfY);
    frame = lowBand;
    N = 160;
  }
  for (int n = 0; n < N; ++n) inWork[n] = VORN_L_deposit_h(frame[n]);
  WVQE_Analysis(inWork, powerSpec, bandPower, timeBuf, spectrum, specWork, nullptr, nullptr,
                nullptr, b.left, b.leftWeights, b.right, b.rightWeights, lowHalf(N), bins, L,
                rateCode, state);
  WVQE_Noise_Vad(state, K, powerSpec, binActive);

  Word16 meanGain = 32767;  // without suppression the upper band passes whole
  if (nrEnable == 1) {
    WVQE_Spectrum_Bank(state->noisePsd, bandNoise, b.left, b.right, b.leftWeights, b.rightWeights,
                       bins);
    WVQE_PostAndPriorSNR(postSnr, priorSnr, state->bandSnrState, bandPower, bandNoise,
                         lowHalf(state->frameCountSat));
    WVQE_Gain_Proc(state, postSnr, priorSnr, bandNoise, bandPower, b.left, b.leftWeights, b.right,
                   b.rightWeights, 1, bins, binGain);
    if (rateCode == 3) {
      meanGain = 0;
      for (int k = 0; k < 128; ++k) meanGain = VORN_add(meanGain, VORN_shr(binGain[k], 7));
    }
    for (int k = 1; k < K; ++k) {
      spectrum[2 * k] = VORN_Mpy_32_16(spectrum[2 * k], binGain[k]);
      spectrum[2 * k + 1] = VORN_Mpy_32_16(spectrum[2 * k + 1], binGain[k]);
    }
    spectrum[0] = VORN_Mpy_32_16(spectrum[0], binGain[0]);
    spectrum[1] = VORN_Mpy_32_16(spectrum[1], binGain[K - 1]);
  }

  const Word16 s = WVQE_Block_Norm(spectrum, size, 8);
  WVQE_IFFT(spectrum, size, 0, 0, nullptr, nullptr, timeBuf);
  WVQE_Block_Denorm(timeBuf, size, lowHalf(state->inputExp + 1 + s));
  VORN_WVQE_MainProcess_ASM(state->olaBuffer, timeBuf, &state->deemphMem, out, N, bins);
  if (rateCode == 3) {
    Word16* delay = state->hbDelay;
    AEC_Syn_Ne(out, delay, out, 160, state->synLpfX, state->synLpfY);
    std::copy(delay + 480, delay + 624, delay);
    for (int n = 0; n < 480; ++n) delay[144 + n] = VORN_mult(highBand[n], meanGain);
  }
}

void VORN_WVQE_MainProcess_ASM(Word32* olaBuffer, Word32* timeBuf, Word32* deemphMem, Word16* out,
                               int N, Word16 K) {
  const int M = 2 * K - N;
  for (int i = 0; i < M; ++i) timeBuf[i] = VORN_L_add(timeBuf[i], olaBuffer[i]);
  for (int i = 0; i < M; ++i) olaBuffer[i] = timeBuf[N + i];
  Word32 y = *deemphMem;
  for (int n = 0; n < N; ++n) {
    y = VORN_L_add(timeBuf[n], VORN_L_mult32(kDeEmphasis, y));
    out[n] = VORN_shl(VORN_round(y), 1);
  }
  *deemphMem = y;
}

Word16 VORN_Init(VornConfig* cfg) {
  if (cfg == nullptr || cfg->pState == nullptr || misaligned(cfg->pState)) return -1;
  if (cfg->checkValue != 20 || cfg->stateSize < kEngineBytes) return -2;
  return VQE_Init(cfg->pState) == 0 ? Word16{0} : Word16{-1};
}

Word16 VQE_Init(WvqeState* state) {
  std::memset(state, 0, sizeof *state);
  std::fill(state->noisePsd, state->noisePsd + 256, 128);
  std::fill(state->bandSnrState, state->bandSnrState + kBands, 1);
  state->floorLevel = 7;
  state->agcEnvFast = 100000000;
  state->agcEnvSlow = 100000000;
  state->agcGainIdx = 10;
  return 0;
}

Word16 VORN_GetVer() { return 103; }

Word16 VORN_Proc(const Word16* in, int length, Word16* out, Word16* lengthWord, VornConfig* cfg) {
  if (in == nullptr || out == nullptr || lengthWord == nullptr || cfg == nullptr) return -1;
  if (cfg->pState == nullptr || misaligned(cfg->pState)) return -1;
  if (misaligned(in) || misaligned(out)) return -1;
  if (cfg->rateCode > 3) return -2;
  const int N = cfg->rateCode == 0 ? 80 : 160 * cfg->rateCode;
  if (*lengthWord < N || N > length || cfg->nrEnable > 1 || cfg->agcEnable > 1) return -2;
  if (cfg->agcTableSel < 2 || cfg->agcTableSel > 4) return -2;

  const bool processed = cfg->agcEnable == 1 || cfg->nrEnable == 1;
  WVQE_NR_Proc(in, out, cfg, cfg->pState);
  if (cfg->agcEnable == 1) {
    const Word32* table =
        cfg->agcTableSel == 2 ? WVQE_AGC_GAIN_TABLE_5_9 : WVQE_AGC_GAIN_TABLE_15_9;
    Word16 agcOut[480];
    VED_AGC_Process(cfg->pState, out, table, cfg->rateCode, agcOut);
    std::copy(agcOut, agcOut + N, out);
  }
  if (!processed) std::copy(in, in + N, out);
  *lengthWord = lowHalf(N);
  return 0;
}

}  // namespace reference
