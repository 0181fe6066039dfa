// SPDX-License-Identifier: Apache-2.0
#include "front_end/front_end.h"

#include <algorithm>
#include <cmath>

#include "abi/front_end_frame.h"
#include "front_end/library_call.h"

namespace arvessa::app {
namespace {

double decibels(double gain) { return gain > 0 ? std::max(-100.0, 20 * std::log10(gain)) : -100; }

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
  // The interface has one switch for the engine and its AGC.
  vornConfigIn(reinterpret_cast<ArvessaState*>(work_.data()))->agcEnable = flag(settings.agc);
}

FrontEnd::FrontEnd(const FrontEnd& other) { *this = other; }

FrontEnd& FrontEnd::operator=(const FrontEnd& other) {
  work_ = other.work_;
  settings_ = other.settings_;
  re_ = other.re_;
  im_ = other.im_;
  meanGain_ = other.meanGain_;
  vornConfigIn(reinterpret_cast<ArvessaState*>(work_.data()))->pState = work_.data();
  return *this;
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
  mustBeZero(frontEndFrame(in.data(), out.data(), &cfg, {re_.data(), im_.data()}, observer));

  const auto& state = *reinterpret_cast<const ArvessaState*>(work_.data());
  const AgcState& agc = state.engine.agc;
  const double gain = gainTable(kFrontEndGainTable)[static_cast<std::size_t>(agc.agcGainIdx)];
  return {settings_.heldBeam.value_or(state.beamformer.beamSelected),
          agc.vadFlag,
          agc.agcGainIdx,
          decibels(gain / 65536.0),
          -static_cast<double>(state.engine.noiseReduction.floorLevel),
          decibels(meanGain_)};
}

}  // namespace arvessa::app
