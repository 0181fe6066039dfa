// SPDX-License-Identifier: Apache-2.0
#include "commands/front_end_processor.h"

#include <numeric>
#include <utility>

namespace arvessa::app {

FrontEndProcessor::FrontEndProcessor(const FrontEndSettings& settings,
                                     std::vector<double> directions, Listener listener)
    : FrontEndProcessor(FrontEnd(settings), std::move(directions), std::move(listener)) {}

FrontEndProcessor::FrontEndProcessor(const FrontEnd& frontEnd, std::vector<double> directions,
                                     Listener listener)
    : FrameProcessor(2, 1, ARVESSA_FRAME_SAMPLES, frontEnd.latency()),
      frontEnd_(frontEnd),
      directions_(std::move(directions)),
      listener_(std::move(listener)) {}

void FrontEndProcessor::process(std::span<const Word16> in, std::size_t filled,
                                std::span<Word16> out) {
  const Decision decision =
      frontEnd_.process(in.first<2 * ARVESSA_FRAME_SAMPLES>(), out.first<ARVESSA_FRAME_SAMPLES>());
  ++framesOfBeam_.at(static_cast<std::size_t>(decision.beam));
  if (listener_) listener_(in, filled, decision);
}

std::vector<BeamShare> FrontEndProcessor::beamShares() const {
  const auto total = static_cast<double>(
      std::accumulate(framesOfBeam_.begin(), framesOfBeam_.end(), std::int64_t{0}));
  std::vector<BeamShare> shares;
  for (std::size_t beam = 0; beam < directions_.size(); ++beam) {
    shares.push_back({directions_[beam], static_cast<double>(framesOfBeam_.at(beam)) / total});
  }
  return shares;
}

}  // namespace arvessa::app
