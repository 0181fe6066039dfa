// SPDX-License-Identifier: Apache-2.0
#pragma once
// One frame of noise reduction: the stages in their order, and nothing else writes that order. What
// comes before and after, the beamformer and the AGC, is in abi/front_end_frame.h and
// abi/engine_frame.h.
//
// An observer is called with what the stages of the spectral chain leave, as the records below in
// their order; without suppression, GainsFound and Suppressed do not come. NoObserver is that of
// the product and costs nothing. bench/engine_frames.cpp has another.

#include <algorithm>
#include <span>

#include "arithmetic/operators.h"
#include "noise_reduction/state.h"
#include "noise_reduction/synthesis.h"

namespace arvessa {

// Views of the frame's buffers, valid during the call.
struct Analysed {
  std::span<const Word16> samples;  // of the spectral chain
  ConstBlock spectrum;
  ConstBlock power;
  std::span<const Word32, kBands> bandPower;
};
struct NoiseEstimated {
  ConstBlock noise;  // by bin, 7 fraction bits
  bool voice;
};
struct GainsFound {
  BandPowers power;
  BandSnrs snr;
  std::span<const Word16> binGain;
};
struct Suppressed {
  ConstBlock spectrum;
};
struct Normalised {
  ConstBlock spectrum;  // for the inverse transform, with the exponent of this step alone
};
struct Transformed {
  ConstBlock time;  // before the overlap is added
};

struct NoObserver {
  template <class Record>
  void operator()(const Record& /*record*/) const {}
};

struct ReducedFrame {
  bool voice;
  Word16 meanGain;  // for the band above, Q15
};

struct ChainSwitches {
  bool suppress;   // or the spectrum is left as it is
  bool wantsMean;  // of 128 gains; without it, or without suppression, the mean is 32767
};

// The spectral chain: N samples of Q15 in and out, which may be the same.
template <class Observer>
ReducedFrame runSpectralChain(const Geometry& geometry, ChainSwitches switches,
                              std::span<const Word16> in, NoiseReductionState& state,
                              std::span<Word16> out, Observer& observe) {
  constexpr Word16 kSynthesisHeadroom = 8;
  const auto bins = static_cast<std::size_t>(geometry.bins);
  Word32 timeWords[kMaxTransform];
  Word32 spectrumWords[kMaxTransform];
  Word32 bandPower[kBands];
  const auto time = std::span(timeWords).first(2 * bins);
  Block spectrum;
  NoiseEstimate estimate{false, {std::span<const Word32>(), 0}};
  {
    Word32 frameWords[kMaxFrame];
    Word32 powerWords[kMaxBins];
    unsigned char active[kMaxBins];
    const Block frame = Kernels::normaliseSamples(in, kAnalysisHeadroom, frameWords);
    const Analysis analysis = analyse(geometry, frame, analysisMemory(state, geometry),
                                      {time, std::span(spectrumWords).first(2 * bins),
                                       std::span(powerWords).first(bins), bandPower});
    observe(Analysed{in, analysis.spectrum, analysis.power, bandPower});
    spectrum = analysis.spectrum;
    estimate = estimateNoise(analysis.power, state.frameCountSat, noiseMemory(state, geometry.bins),
                             std::span(active).first(bins));
    observe(NoiseEstimated{estimate.noise, estimate.voice});
  }

  Word16 meanGain = kMax16;
  if (switches.suppress) {
    Word32 bandNoise[kBands];
    Word16 postSnr[kBands];
    Word16 priorSnr[kBands];
    Word16 gainOfBin[kMaxBins];
    const auto binGain = std::span(gainOfBin).first(bins);
    const BandPowers power = {bandPower, bandNoise};
    Kernels::sumIntoBands(estimate.noise, geometry.bank, bandNoise);
    estimateSnr(power, state.frameCountSat == 1, state.bandSnrState, {postSnr, priorSnr});
    const BandSnrs snr = {postSnr, priorSnr};
    suppressionGains(power, snr, gainMemory(state), geometry.bank, binGain);
    observe(GainsFound{power, snr, binGain});
    if (switches.wantsMean) meanGain = meanOf128(binGain);
    Kernels::scaleBins(spectrum, binGain);
    observe(Suppressed{spectrum});
  }

  const Block scaled = Kernels::normalise(spectrum.words, kSynthesisHeadroom);
  observe(Normalised{scaled});
  Kernels::inverseTransform(scaled, geometry.transform, time);
  // Half the scale of the input, which the output filter doubles: the overlapping sum has headroom.
  const Block restored = {time, kAllBits, low16(spectrum.exponent + 1 + scaled.exponent)};
  observe(Transformed{restored});
  const auto overlap = std::span(state.olaBuffer).first(2 * bins - in.size());
  synthesise(restored, overlap, state.deemphMem, out);
  return {estimate.voice, meanGain};
}

// One frame of 80, 160, 320 or 480 samples of Q15, by rate code; `in` and `out` may be the same.
// The frame has been counted. Returns whether it carries voice.
template <class Observer>
bool reduceNoise(const Rate& rate, bool suppress, std::span<const Word16> in,
                 NoiseReductionState& state, std::span<Word16> out, Observer& observe) {
  const Geometry geometry = geometryOf(rate.sizeCode);
  if (!rate.splitBand) {
    return runSpectralChain(geometry, {suppress, false}, in, state, out, observe).voice;
  }
  Word16 lowBand[kMaxLowFrame];
  Word16 highBand[kMaxFullbandFrame];
  const BandSplitMemory memory = bandSplitMemory(state);
  const std::span<Word16> low = out.first(kMaxLowFrame);
  splitBands(in, memory.splitLow, memory.splitHigh, lowBand, highBand);
  const ReducedFrame frame =
      runSpectralChain(geometry, {suppress, true}, lowBand, state, low, observe);
  joinBands(low, memory.joinLow, std::span(state.hbDelay).first(kMaxFullbandFrame), out);
  delayUpperBand(state.hbDelay, highBand, frame.meanGain);
  return frame.voice;
}

extern template bool reduceNoise(const Rate&, bool, std::span<const Word16>, NoiseReductionState&,
                                 std::span<Word16>, NoObserver&);

}  // namespace arvessa
