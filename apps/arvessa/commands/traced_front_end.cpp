// SPDX-License-Identifier: Apache-2.0
#include "commands/traced_front_end.h"

#include "abi/front_end_frame.h"
#include "audio_io/level.h"

namespace arvessa::app {
namespace {

// Takes the mean of the suppression gains, which the engine keeps nowhere.
struct MeanGain {
  double& mean;

  void operator()(const GainsFound& found) const {
    double sum = 0;
    for (const Word16 gain : found.binGain) sum += gain / 32768.0;
    mean = sum / static_cast<double>(found.binGain.size());
  }
  template <class Record>
  void operator()(const Record& /*other*/) const {}
};

}  // namespace

void TracedFrontEnd::process(std::span<const Word16> in, std::size_t filled,
                             std::span<Word16> out) {
  FrontEnd::process(in, filled, out);
  LevelMeter level;
  for (std::size_t microphone = 0; microphone < 2; ++microphone) {
    level.add(in.subspan(microphone * ARVESSA_FRAME_SAMPLES, filled));
  }
  const WvqeState& engine = state().engine;
  const auto index = static_cast<std::size_t>(engine.agc.agcGainIdx);
  const double gain = gainTable(kFrontEndGainTable)[index] / 65536.0;
  decisions_.push_back({level.level(), state().beamformer.beamSelected, engine.agc.vadFlag,
                        engine.agc.agcGainIdx, decibels(gain * gain),
                        -static_cast<double>(engine.noiseReduction.floorLevel),
                        decibels(meanGain_ * meanGain_)});
}

std::intptr_t TracedFrontEnd::callLibrary(const Word16* microphones, Word16* out,
                                          ArvessaConfig& config) {
  MeanGain observer{meanGain_};
  return frontEndFrame(microphones, out, &config, observer);
}

Decision TracedFrontEnd::nextDecision() {
  const Decision next = decisions_.front();
  decisions_.pop_front();
  return next;
}

}  // namespace arvessa::app
