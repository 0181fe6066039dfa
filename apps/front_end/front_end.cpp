// SPDX-License-Identifier: Apache-2.0
#include "front_end/front_end.h"

#include <algorithm>

#include "abi/front_end_frame.h"
#include "front_end/library_call.h"

namespace arvessa::app {

FrontEnd::FrontEnd(const FrontEndSettings& settings) : settings_(settings) {
  ArvessaConfig init = config();
  mustBeZero(Arvessa_Init(&init));
  change(settings);
}

void FrontEnd::change(const FrontEndSettings& settings) {
  settings_ = settings;
  for (std::size_t i = 0; i < kWeights; ++i) {
    // Three times the same beam: whichever of them wins, it is held.
    const std::size_t from =
        settings.heldBeam
            ? i % kBeamBlock + static_cast<std::size_t>(*settings.heldBeam) * kBeamBlock
            : i;
    re_[i] = settings.beams.re[from];
    im_[i] = settings.beams.im[from];
  }
  settings_.beams = {};
  // The interface has one switch for the engine and its AGC.
  engineConfig().nrEnable = flag(settings.noiseReduction);
  engineConfig().agcEnable = flag(settings.agc);
  engineConfig().pState = nullptr;
}

VornConfig& FrontEnd::engineConfig() {
  return *vornConfigIn(reinterpret_cast<ArvessaState*>(work_.data()));
}

ArvessaConfig FrontEnd::config() {
  return {work_.data(), ARVESSA_WORK_BYTES, 0, flag(settings_.noiseReduction),
          flag(settings_.engine)};
}

int FrontEnd::latency() const {
  const bool engineLags = settings_.engine && (settings_.noiseReduction || settings_.agc);
  return engineLags ? ARVESSA_ENGINE_LATENCY : ARVESSA_BEAM_LATENCY;
}

Decision FrontEnd::process(std::span<const Word16, 2 * ARVESSA_FRAME_SAMPLES> microphones,
                           std::span<Word16, ARVESSA_FRAME_SAMPLES> out) {
  alignas(ARVESSA_WORK_ALIGNMENT) std::array<Word16, std::size_t{2} * ARVESSA_FRAME_SAMPLES> in;
  std::rotate_copy(microphones.begin(),
                   microphones.begin() + (settings_.swap ? ARVESSA_FRAME_SAMPLES : 0),
                   microphones.end(), in.begin());
  const ArvessaConfig cfg = config();
  MeanGain observer{meanGain_};
  // Points to this very value, so only while it stays in place.
  engineConfig().pState = work_.data();
  mustBeZero(frontEndFrame(in.data(), out.data(), &cfg, {re_.data(), im_.data()}, observer));
  engineConfig().pState = nullptr;

  const auto& state = *reinterpret_cast<const ArvessaState*>(work_.data());
  const int beam = settings_.heldBeam.value_or(state.beamformer.beamSelected);
  return decisionOf(state.engine, kFrontEndGainTable, meanGain_, beam);
}

}  // namespace arvessa::app
