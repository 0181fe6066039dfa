// SPDX-License-Identifier: Apache-2.0
#pragma once
// The front end as a frame processor: two microphones in, one channel out, and what was decided.

#include <array>
#include <cstdint>
#include <functional>
#include <vector>

#include "audio_io/frame_stream.h"
#include "commands/report.h"
#include "front_end/front_end.h"

namespace arvessa::app {

class FrontEndProcessor : public FrameProcessor {
 public:
  // Is told of every frame: both microphones, of which `filled` samples each are the stream's, and
  // what was decided.
  using Listener =
      std::function<void(std::span<const Word16> in, std::size_t filled, const Decision& decision)>;

  // `directions` of the beams in degrees are for people.
  FrontEndProcessor(const FrontEndSettings& settings, std::vector<double> directions,
                    Listener listener = {});
  void process(std::span<const Word16> in, std::size_t filled, std::span<Word16> out) override;
  // How often each beam was in use so far.
  std::vector<BeamShare> beamShares() const;

 private:
  FrontEndProcessor(const FrontEnd& frontEnd, std::vector<double> directions, Listener listener);

  FrontEnd frontEnd_;
  std::vector<double> directions_;
  Listener listener_;
  std::array<std::int64_t, kBeams> framesOfBeam_{};
};

}  // namespace arvessa::app
