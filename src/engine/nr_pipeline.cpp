#include "engine/nr_pipeline.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "engine/analysis.h"
#include "engine/band_split.h"
#include "engine/filterbank.h"
#include "engine/fixed_fft.h"
#include "engine/noise_estimation.h"
#include "engine/snr_estimation.h"
#include "engine/suppression_gain.h"
#include "fixedpoint/block_float.h"
#include "fixedpoint/lanes.h"
#include "fixedpoint/operators.h"

namespace arvessa {
namespace {

constexpr int kSplitRateCode = 3;
constexpr Word16 kSynthesisHeadroom = 8;

// The constant tables of one transform size.
struct Tables {
  const Word16* twiddles;
  const Word16* rearranged;
  const Word16* window;
  const Word32* bankLeft;
  const Word32* bankRight;
  const Word16* filterLeft;
  const Word16* filterRight;
};

// Field by field: GCC keeps braces full of addresses as relocated constants in writable data.
Tables tablesFor(int rateCode) {
  Tables t;
  if (rateCode == 0) {
    t.twiddles = WVQE_CONST_TABLE_FFT_COEF_8K;
    t.rearranged = WVQE_CONST_TABLE_FFT_COEF_Rearrange_8K;
    t.window = WVQE_CONST_TABLE_WIN_8k;
    t.bankLeft = WVQE_CONST_TABLE_BANK_LEFT_8K;
    t.bankRight = WVQE_CONST_TABLE_BANK_RIGHT_8K;
    t.filterLeft = WVQE_CONST_TABLE_FILTER_LEFT_8K;
    t.filterRight = WVQE_CONST_TABLE_FILTER_RIGHT_8K;
  } else if (rateCode == 2) {
    t.twiddles = WVQE_CONST_TABLE_FFT_COEF_32K;
    t.rearranged = WVQE_CONST_TABLE_FFT_COEF_Rearrange_32K;
    t.window = WVQE_CONST_TABLE_WIN_32k;
    t.bankLeft = WVQE_CONST_TABLE_BANK_LEFT_32K;
    t.bankRight = WVQE_CONST_TABLE_BANK_RIGHT_32K;
    t.filterLeft = WVQE_CONST_TABLE_FILTER_LEFT_32K;
    t.filterRight = WVQE_CONST_TABLE_FILTER_RIGHT_32K;
  } else {
    t.twiddles = WVQE_CONST_TABLE_FFT_COEF_16K;
    t.rearranged = WVQE_CONST_TABLE_FFT_COEF_Rearrange_16K;
    t.window = WVQE_CONST_TABLE_WIN_16k;
    t.bankLeft = WVQE_CONST_TABLE_BANK_LEFT_16K;
    t.bankRight = WVQE_CONST_TABLE_BANK_RIGHT_16K;
    t.filterLeft = WVQE_CONST_TABLE_FILTER_LEFT_16K;
    t.filterRight = WVQE_CONST_TABLE_FILTER_RIGHT_16K;
  }
  return t;
}

Word16 stagesOf(int bins) { return static_cast<Word16>(std::bit_width(unsigned(bins)) - 1); }

// The mean of 128 gains in Q15. Each is shifted before it is added, so that the sum fits, and loses
// its last 7 bits.
Word16 meanOf128(const Word16* gains) {
  Word16 mean = 0;
  for (int k = 0; k < 128; ++k) mean = add(mean, shr(gains[k], 7));
  return mean;
}

// Scales a packed spectrum bin by bin. The highest bin, packed beside bin 0, is 0 by now, as bin 0
// is. The lanes have headroom: of the windowed block only the history, 3/16 of it, and the word after
// it can exceed 2^27. A value of the pairs' spectrum is their mean, turned, and no larger where sums
// saturate; the split step adds a factor of sqrt(2) at most: below 0.42 x 2^31.
void applyGains(Word32* spectrum, const Word16* gains, int bins) {
  int k = 0;
  for (; kHaveLanes && k < bins; k += 4) {
    const PairFactors factors = spreadFactors(gains + k);
    Word32* at = spectrum + 2 * k;
    storeLanes(at, mulQ15(loadLanes(at), factors.first));
    storeLanes(at + 4, mulQ15(loadLanes(at + 4), factors.second));
  }
  for (; k < bins; ++k) {
    spectrum[2 * k] = mpy32x16(spectrum[2 * k], gains[k]);
    spectrum[2 * k + 1] = mpy32x16(spectrum[2 * k + 1], gains[k]);
  }
}

// The gain of every bin, Q15, from this frame's powers and the noise estimate.
void suppressionGains(WvqeState* state, const Tables& t, const Word32* bandPower, int bins,
                      Word16* binGain) {
  Word32 bandNoise[kBands];
  WVQE_Spectrum_Bank(state->noisePsd, bandNoise, t.bankLeft, t.bankRight, t.filterLeft,
                     t.filterRight, static_cast<Word16>(bins));
  Word16 postSnr[kBands];
  Word16 priorSnr[kBands];
  WVQE_PostAndPriorSNR(postSnr, priorSnr, state->bandSnrState, bandPower, bandNoise,
                       static_cast<Word16>(state->frameCountSat));
  WVQE_Gain_Proc(state, postSnr, priorSnr, bandNoise, bandPower, t.bankLeft, t.filterLeft,
                 t.bankRight, t.filterRight, 1, static_cast<Word16>(bins), binGain);
}

// Band-limited frame in, band-limited frame out. Returns the factor for the band above.
Word16 processLowBand(const Word16* in, WvqeState* state, int frame, int bins, Word16 history,
                      Word16 rateCode, bool suppress, Word16* out) {
  const Tables t = tablesFor(rateCode);
  const auto points = static_cast<Word16>(2 * bins);
  Word32 timeBuf[kMaxTransform];
  Word32 spectrum[kMaxTransform];
  Word32 bandPower[kBands];
  {
    Word32 inWork[kMaxFrame];
    for (int n = 0; n < frame; ++n) inWork[n] = depositHigh(in[n]);
    Word32 powerSpec[kMaxBins];
    // The time buffer is free again when the analysis makes its working copy of the spectrum.
    Word32* specWork = timeBuf;
    WVQE_Analysis(inWork, powerSpec, bandPower, timeBuf, spectrum, specWork, t.twiddles,
                  t.rearranged, t.window, t.bankLeft, t.filterLeft, t.bankRight, t.filterRight,
                  static_cast<Word16>(frame), static_cast<Word16>(bins), history, rateCode, state);
    alignas(2) unsigned char binActive[kMaxBins];
    std::memset(binActive, 1, static_cast<std::size_t>(bins));
    WVQE_Noise_Vad(state, bins, powerSpec, binActive);
  }

  Word16 upperBandGain = kMax16;
  if (suppress) {
    Word16 binGain[kMaxBins];
    suppressionGains(state, t, bandPower, bins, binGain);
    if (rateCode == kSplitRateCode) upperBandGain = meanOf128(binGain);
    applyGains(spectrum, binGain, bins);
  }

  const Word16 shift = WVQE_Block_Norm(spectrum, points, kSynthesisHeadroom);
  WVQE_IFFT(spectrum, points, static_cast<Word16>(bins), stagesOf(bins), t.twiddles, t.rearranged,
            timeBuf);
  WVQE_Block_Denorm(timeBuf, points, low16(state->inputExp + 1 + shift));
  VORN_WVQE_MainProcess_ASM(state->olaBuffer, timeBuf, &state->deemphMem, out, frame,
                            static_cast<Word16>(bins));
  return upperBandGain;
}

// Twice the rounded upper halves of n words, saturated.
void toSamples(const Word32* block, int n, bool headroom, Word16* out) {
  int i = 0;
  if (kHaveLanes && headroom) {
    for (; i + 4 <= n; i += 4) {
      const Lanes rounded = (loadLanes(block + i) + 0x8000) >> 16;
      storeSaturated(out + i, rounded + rounded);
    }
  }
  for (; i < n; ++i) out[i] = saturate16(2 * roundHigh(block[i]));
}

// The samples of y[n] = x[n] + 0.40327 y[n-1].
void deemphasise(const Word32* x, int n, Word32* memory, Word16* out) {
  constexpr Word32 kCoefficient = 0x339E673C;  // 0.40327 in Q31
  constexpr int kChunk = 80;
  Word32 filtered[kChunk];
  Word32 y = *memory;
  const auto filter = [&](const Word32* from, int count, auto sum) {
    for (int i = 0; i < count; ++i) {
      y = sum(from[i], lMult32ByCoefficient(kCoefficient, y));
      filtered[i] = y;
    }
  };
  // Whatever the memory, the first y then stays below 2^30 + 0.40327 2^31 < 1.81 2^30, and with it
  // all. To round them does not saturate, either.
  const bool headroom = usedBits(x, n) < (1U << 30);
  for (int begin = 0; begin < n; begin += kChunk) {
    const int count = std::min(kChunk, n - begin);
    if (headroom) {
      filter(x + begin, count, [](Word32 a, Word32 b) { return a + b; });
    } else {
      filter(x + begin, count, lAdd);
    }
    toSamples(filtered, count, headroom, out + begin);
  }
  *memory = y;
}

// 144 samples of the last frame move to the front; this frame follows them, scaled.
void delayUpperBand(Word16* hbDelay, const Word16* highBand, Word16 gain) {
  constexpr int kCarried = kUpperBandDelay - kMaxFullbandFrame;
  std::memcpy(hbDelay, hbDelay + kMaxFullbandFrame, kCarried * sizeof(Word16));
  for (int n = 0; n < kMaxFullbandFrame; ++n) {
    hbDelay[kCarried + n] = mult(highBand[n], gain);
  }
}

}  // namespace
}  // namespace arvessa

extern "C" {

void WVQE_NR_Proc(const Word16* in, Word16* out, const VornConfig* cfg, WvqeState* state) {
  using namespace arvessa;
  if (state->frameCountSat < kFrameCountMax) ++state->frameCountSat;
  ++state->minWinCount;
  const Word16 rateCode = cfg->rateCode & 3;
  const Geometry geometry = kGeometry[rateCode];
  WVQE_MainProcess(in, state, frameSamples(rateCode), geometry.bins, geometry.history, rateCode,
                   cfg->nrEnable, out);
}

void WVQE_MainProcess(const Word16* in, WvqeState* state, int N, int K, Word16 L, Word16 rateCode,
                      unsigned char nrEnable, Word16* out) {
  using namespace arvessa;
  const bool suppress = nrEnable == 1;
  if (rateCode != kSplitRateCode) {
    processLowBand(in, state, N, K, L, rateCode, suppress, out);
    return;
  }
  constexpr Word16 kLowFrame = kMaxFullbandFrame / 3;
  Word16 lowBand[kLowFrame];
  Word16 highBand[kMaxFullbandFrame];
  AEC_Split_Ne(in, lowBand, highBand, kLowFrame, state->splitLpfX, state->splitLpfY,
               state->splitHpfX, state->splitHpfY);
  const Word16 gain = processLowBand(lowBand, state, kLowFrame, K, L, rateCode, suppress, out);
  AEC_Syn_Ne(out, state->hbDelay, out, kLowFrame, state->synLpfX, state->synLpfY);
  delayUpperBand(state->hbDelay, highBand, gain);
}

void VORN_WVQE_MainProcess_ASM(Word32* olaBuffer, Word32* timeBuf, Word32* deemphMem, Word16* out,
                               int N, Word16 K) {
  using namespace arvessa;
  const int overlap = 2 * K - N;
  for (int i = 0; i < overlap; ++i) timeBuf[i] = lAdd(timeBuf[i], olaBuffer[i]);
  for (int i = 0; i < overlap; ++i) olaBuffer[i] = timeBuf[N + i];
  deemphasise(timeBuf, N, deemphMem, out);
}

}  // extern "C"
