// SPDX-License-Identifier: Apache-2.0
#include "commands/traced_front_end.h"

#include <algorithm>

#include "agc/agc.h"
#include "audio_io/level.h"
#include "engine/analysis.h"
#include "engine/filterbank.h"
#include "engine/fixed_fft.h"
#include "engine/noise_estimation.h"
#include "engine/snr_estimation.h"
#include "engine/suppression_gain.h"
#include "interface/work_buffer.h"

namespace arvessa::app {
namespace {

// The mean suppression gain that the engine finds for `beamformed` in `state`, which it changes.
double meanSuppressionGain(WvqeState& state, std::span<const Word16> beamformed) {
  constexpr Geometry kShape = kGeometry[0];
  constexpr std::size_t kBins = kShape.bins;
  std::array<Word32, kShape.frame> inWork;
  for (std::size_t n = 0; n < inWork.size(); ++n) inWork[n] = beamformed[n] * 65536;
  std::array<Word32, 2 * kBins> timeBuf;
  std::array<Word32, 2 * kBins> spectrum;
  std::array<Word32, 2 * kBins> spectrumWork;
  std::array<Word32, kBins> power;
  std::array<Word32, kBands> bandPower;
  std::array<Word32, kBands> bandNoise;
  std::array<Word16, kBands> postSnr;
  std::array<Word16, kBands> priorSnr;
  std::array<Word16, kBins> binGain;
  alignas(4) std::array<unsigned char, kBins> binActive;
  binActive.fill(1);

  if (state.frameCountSat < kFrameCountMax) ++state.frameCountSat;
  ++state.minWinCount;
  WVQE_Analysis(inWork.data(), power.data(), bandPower.data(), timeBuf.data(), spectrum.data(),
                spectrumWork.data(), WVQE_CONST_TABLE_FFT_COEF_8K,
                WVQE_CONST_TABLE_FFT_COEF_Rearrange_8K, WVQE_CONST_TABLE_WIN_8k,
                WVQE_CONST_TABLE_BANK_LEFT_8K, WVQE_CONST_TABLE_FILTER_LEFT_8K,
                WVQE_CONST_TABLE_BANK_RIGHT_8K, WVQE_CONST_TABLE_FILTER_RIGHT_8K, kShape.frame,
                kShape.bins, kShape.history, 0, &state);
  WVQE_Noise_Vad(&state, kShape.bins, power.data(), binActive.data());
  WVQE_Spectrum_Bank(state.noisePsd, bandNoise.data(), WVQE_CONST_TABLE_BANK_LEFT_8K,
                     WVQE_CONST_TABLE_BANK_RIGHT_8K, WVQE_CONST_TABLE_FILTER_LEFT_8K,
                     WVQE_CONST_TABLE_FILTER_RIGHT_8K, kShape.bins);
  WVQE_PostAndPriorSNR(postSnr.data(), priorSnr.data(), state.bandSnrState, bandPower.data(),
                       bandNoise.data(), static_cast<Word16>(state.frameCountSat));
  WVQE_Gain_Proc(&state, postSnr.data(), priorSnr.data(), bandNoise.data(), bandPower.data(),
                 WVQE_CONST_TABLE_BANK_LEFT_8K, WVQE_CONST_TABLE_FILTER_LEFT_8K,
                 WVQE_CONST_TABLE_BANK_RIGHT_8K, WVQE_CONST_TABLE_FILTER_RIGHT_8K, 1, kShape.bins,
                 binGain.data());
  double sum = 0;
  for (const Word16 gain : binGain) sum += gain / 32768.0;
  return sum / kShape.bins;
}

ArvessaState& stateIn(FrontEnd& frontEnd) {
  return *reinterpret_cast<ArvessaState*>(frontEnd.work().data());
}

}  // namespace

TracedFrontEnd::TracedFrontEnd(bool swap)
    : FrameProcessor(2, 1, ARVESSA_FRAME_SAMPLES, ARVESSA_ENGINE_LATENCY),
      frontEnd_({.swap = swap}),
      beamformer_({.engine = false, .swap = swap}) {}

void TracedFrontEnd::process(std::span<const Word16> in, std::size_t filled,
                             std::span<Word16> out) {
  const double suppression = meanGainAhead(in, filled);
  frontEnd_.process(in, filled, out);
  LevelMeter level;
  for (std::size_t microphone = 0; microphone < 2; ++microphone) {
    level.add(in.subspan(microphone * ARVESSA_FRAME_SAMPLES, filled));
  }
  const ArvessaState& now = stateIn(frontEnd_);
  const double gain = WVQE_AGC_GAIN_TABLE_15_9[now.engine.agcGainIdx] / 65536.0;
  decisions_.push_back({level.level(), now.beamSelected, now.engine.vadFlag, now.engine.agcGainIdx,
                        decibels(gain * gain), -static_cast<double>(now.engine.floorLevel),
                        decibels(suppression * suppression)});
}

Decision TracedFrontEnd::nextDecision() {
  const Decision next = decisions_.front();
  decisions_.pop_front();
  return next;
}

// The engine keeps its suppression gains nowhere. So the beamformer runs ahead of the front end on
// a copy of its state, and behind it those stages of the engine that lead to the gains.
double TracedFrontEnd::meanGainAhead(std::span<const Word16> in, std::size_t filled) {
  std::ranges::copy(frontEnd_.work(), beamformer_.work().begin());
  alignas(ARVESSA_WORK_ALIGNMENT) std::array<Word16, ARVESSA_FRAME_SAMPLES> beamformed;
  beamformer_.process(in, filled, beamformed);
  return meanSuppressionGain(stateIn(beamformer_).engine, beamformed);
}

}  // namespace arvessa::app
