// SPDX-License-Identifier: Apache-2.0
#include "abi/exported_stages.h"

#include <algorithm>

#include "abi/engine_frame.h"
#include "abi/views.h"
#include "kernels/gain_curves.h"
#include "noise_reduction/suppression_floor.h"

namespace arvessa {
namespace {

kernels::Filterbank bankOf(const Word32* bankLeft, const Word32* bankRight,
                           const Word16* filterLeft, const Word16* filterRight, int bins) {
  return {view(bankLeft, bins), view(bankRight, bins), view(filterLeft, bins),
          view(filterRight, bins), nullptr};
}

FilterMemory memoryOf(Word16* x, Word32* y) {
  return {std::span<Word16, kFilterOrder>(x, kFilterOrder),
          std::span<Word32, kFilterOrder>(y, kFilterOrder)};
}

// Calls a stage for at most 160 samples of the low band at a time: stage(first, count).
template <class Stage>
void inLowFrames(int samples, Stage stage) {
  for (int first = 0; first < samples; first += kMaxLowFrame) {
    stage(first, std::min(kMaxLowFrame, samples - first));
  }
}

}  // namespace
}  // namespace arvessa

extern "C" {

void WVQE_NR_Proc(const Word16* in, Word16* out, const VornConfig* cfg, WvqeState* state) {
  arvessa::countFrame(state->noiseReduction);
  WVQE_MainProcess(in, state, 0, 0, 0, cfg->rateCode, cfg->nrEnable, out);
}

void WVQE_MainProcess(const Word16* in, WvqeState* state, int /*N*/, int /*K*/, Word16 /*L*/,
                      Word16 rateCode, unsigned char nrEnable, Word16* out) {
  using namespace arvessa;
  const Rate& rate = rateOf(rateCode);
  NoObserver nobody;
  const bool voice = reduceNoise(rate, nrEnable == 1, view(in, rate.samples), state->noiseReduction,
                                 view(out, rate.samples), nobody);
  state->agc.vadFlag = voice ? 1 : 0;
}

void VORN_WVQE_MainProcess_ASM(Word32* olaBuffer, Word32* timeBuf, Word32* deemphMem, Word16* out,
                               int N, Word16 K) {
  using namespace arvessa;
  synthesise({view(timeBuf, 2 * K)}, view(olaBuffer, 2 * K - N), *deemphMem, view(out, N));
}

void AEC_Split_Ne(const Word16* in, Word16* low, Word16* high, Word16 len, Word16* splitLpfX,
                  Word32* splitLpfY, Word16* splitHpfX, Word32* splitHpfY) {
  using namespace arvessa;
  inLowFrames(len, [&](int first, int count) {
    splitBands(view(in + 3 * first, 3 * count), memoryOf(splitLpfX, splitLpfY),
               memoryOf(splitHpfX, splitHpfY), view(low + first, count),
               view(high + 3 * first, 3 * count));
  });
}

void AEC_Syn_Ne(const Word16* low, const Word16* high, Word16* out, Word16 len, Word16* synLpfX,
                Word32* synLpfY) {
  using namespace arvessa;
  inLowFrames(len, [&](int first, int count) {
    joinBands(view(low + first, count), memoryOf(synLpfX, synLpfY),
              view(high + 3 * first, 3 * count), view(out + 3 * first, 3 * count));
  });
}

void WVQE_Analysis(Word32* inWork, Word32* powerSpec, Word32* bandPower, Word32* timeBuf,
                   Word32* spectrum, Word32* specWork, const Word16* /*twiddles*/,
                   const Word16* /*reordering*/, const Word16* /*window*/, const Word32* bankLeft,
                   const Word16* filterLeft, const Word32* bankRight, const Word16* filterRight,
                   Word16 /*N*/, Word16 K, Word16 /*L*/, Word16 /*rateCode*/, WvqeState* state) {
  using namespace arvessa;
  Geometry geometry = geometryOf(sizeCodeOf(2 * K));
  const int bins = geometry.bins;
  geometry.bank = bankOf(bankLeft, bankRight, filterLeft, filterRight, bins);
  const Block frame = Kernels::normalise(view(inWork, geometry.frame), kAnalysisHeadroom);
  const Analysis analysis =
      analyse(geometry, frame, analysisMemory(state->noiseReduction, geometry),
              {view(timeBuf, 2 * bins), view(spectrum, 2 * bins), view(powerSpec, bins),
               bandView(bandPower)});
  const Block unscaled = {view(specWork, 2 * bins), analysis.spectrum.bits};
  std::copy(analysis.spectrum.words.begin(), analysis.spectrum.words.end(), specWork);
  denormalise(unscaled, analysis.spectrum.exponent);
}

void VORN_WVQE_Analysis1_ASM(Word32* timeBuf, const Word32* inWork, Word32* anaHistory, Word16 d,
                             Word32* anaMem, Word16 sizeCode) {
  using namespace arvessa;
  const Geometry geometry = geometryOf(sizeCode);
  Word16 exponent = 0;  // of the memory, not used by this step
  framed(geometry, scanned(inWork, geometry.frame), d,
         {view(anaHistory, geometry.history), *anaMem, exponent}, view(timeBuf, 2 * geometry.bins));
}

void VORN_WVQE_Analysis2_ASM(const Word32* spectrum, Word32* power, Word16 sizeCode) {
  using namespace arvessa;
  const int bins = geometryOf(sizeCode).bins;
  Kernels::powers({view(spectrum, 2 * bins), kAllBits}, view(power, bins));
}

void WVQE_Spectrum_Bank(const Word32* binPower, Word32* bandOut, const Word32* bankLeft,
                        const Word32* bankRight, const Word16* filterLeft,
                        const Word16* filterRight, Word16 K) {
  using namespace arvessa;
  Kernels::sumIntoBands(scanned(binPower, K),
                        bankOf(bankLeft, bankRight, filterLeft, filterRight, K), bandView(bandOut));
}

void WVQE_Spectrum_PSD(Word16* binOut, const Word16* filterLeft, const Word16* filterRight,
                       const Word32* bankLeft, const Word32* bankRight, const Word16* bandValues,
                       Word16 K) {
  using namespace arvessa;
  Kernels::spreadToBins(bandView(bandValues),
                        bankOf(bankLeft, bankRight, filterLeft, filterRight, K), view(binOut, K));
}

void WVQE_Noise_Vad(WvqeState* state, int K, const Word32* powerSpec, unsigned char* binActive) {
  using namespace arvessa;
  NoiseReductionState& memory = state->noiseReduction;
  const NoiseEstimate estimate = estimateNoise(scanned(powerSpec, K), memory.frameCountSat,
                                               noiseMemory(memory, K), view(binActive, K));
  state->agc.vadFlag = estimate.voice ? 1 : 0;
}

void VORN_WVQE_Noise_Vad1_ASM(Word32* psdSmooth, const Word32* powerSpec, int K) {
  arvessa::kernels::smoothPower(arvessa::view(psdSmooth, K), arvessa::view(powerSpec, K));
}

void VORN_WVQE_Noise_Vad2_ASM(const Word32* psdSmooth, const Word32* psdMin,
                              unsigned char* binActive, Word16* vadFlag, Word16 K) {
  using namespace arvessa;
  const auto smooth = view(psdSmooth, K);
  const auto minimum = view(psdMin, K);
  kernels::findActiveBins(smooth, minimum, view(binActive, K));
  *vadFlag = isVoice(kernels::saturatedSum(smooth), kernels::saturatedSum(minimum)) ? 1 : 0;
}

void VORN_WVQE_Noise_Vad3_ASM(const Word32* powerSpec, Word32* noisePsd,
                              const unsigned char* binActive, Word16 alpha, Word16 K) {
  using namespace arvessa;
  kernels::updateNoise(view(noisePsd, K), view(powerSpec, K), view(binActive, K), alpha);
}

void WVQE_PostAndPriorSNR(Word16* postSnr, Word16* priorSnr, Word32* bandSnrState,
                          const Word32* bandPower, const Word32* bandNoise, Word16 frameNo) {
  using namespace arvessa;
  estimateSnr({bandView(bandPower), bandView(bandNoise)}, frameNo == 1, bandView(bandSnrState),
              {bandView(postSnr), bandView(priorSnr)});
}

void WVQE_Gain_Proc(WvqeState* state, const Word16* postSnr, const Word16* priorSnr,
                    const Word32* bandNoise, const Word32* bandPower, const Word32* bankLeft,
                    const Word16* filterLeft, const Word32* bankRight, const Word16* filterRight,
                    unsigned char nrEnable, Word16 nBins, Word16* binGain) {
  using namespace arvessa;
  if (nrEnable == 0) {
    std::fill_n(binGain, nBins, kMax16);
    return;
  }
  suppressionGains({bandView(bandPower), bandView(bandNoise)},
                   {bandView(postSnr), bandView(priorSnr)}, gainMemory(state->noiseReduction),
                   bankOf(bankLeft, bankRight, filterLeft, filterRight, nBins),
                   view(binGain, nBins));
}

void VORN_NR_Gain_Proc1_ASM(Word16* bandSmooth, const Word16* priorSnr, Word32* priorSnrSum) {
  using namespace arvessa;
  *priorSnrSum = smoothPriorSnr(bandView(priorSnr), bandView(bandSmooth));
}

void VORN_NR_Gain_Proc2_ASM(const Word16* priorSnr, const Word32* bandPower, Word16* gainH1,
                            Word32* bandSnrState, const Word16* postSnr, const Word16* bandSmooth,
                            Word16* speechProb, Word16 globalPresence) {
  using namespace arvessa;
  Kernels::gainsUnderPresence({bandView(postSnr), bandView(priorSnr)}, bandView(bandPower),
                              bandView(bandSmooth), globalPresence, bandView(bandSnrState),
                              {bandView(gainH1), bandView(speechProb)});
}

void VORN_NR_Gain_Proc3_ASM(const Word32* bandNoise, Word16* gainH1, const Word16* speechProb,
                            Word16* bandGain, Word16 floorGain) {
  using namespace arvessa;
  Kernels::mixWithFloor(bandView(bandNoise), floorGain, bandView(speechProb), bandView(gainH1),
                        bandView(bandGain));
}

Word32 WVQE_Hypergeom_Gain(Word32 v) { return arvessa::amplitudeFactor(v); }

Word32 WVQE_Qcurve(Word32 x) { return arvessa::presenceCurve(x); }

void WVQE_Gain_Floor(const Word32* bandNoise, Word16* floorDb, WvqeState* state) {
  using namespace arvessa;
  moveFloor(bandView(bandNoise), state->noiseReduction.floorLevel);
  *floorDb = static_cast<Word16>(-state->noiseReduction.floorLevel);
}

void VED_AGC_Process(WvqeState* state, const Word16* x, const Word32* table, Word16 rateCode,
                     Word16* y) {
  using namespace arvessa;
  if (rateCode < 0 || rateCode >= kRateCodes) return;
  const int samples = kRates[rateCode].samples;
  controlGain(state->agc, std::span<const Word32, kGains>(table, kGains), view(x, samples),
              view(y, samples));
}

Word16 AGC_norm_l(Word32 v) { return arvessa::leadingZeros(v); }

}  // extern "C"
