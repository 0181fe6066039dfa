// SPDX-License-Identifier: Apache-2.0
#pragma once
// The front end with a record of what it decided.

#include <deque>

#include "commands/front_end.h"

namespace arvessa::app {

// About one frame, after it.
struct Decision {
  double inputLevel;  // dBFS
  int beam;
  int voice;
  int agcIndex;
  double agcGain;          // dB
  double floor;            // dB
  double meanSuppression;  // dB
};

class TracedFrontEnd : public FrameProcessor {
 public:
  explicit TracedFrontEnd(bool swap);
  void process(std::span<const Word16> in, std::size_t filled, std::span<Word16> out) override;
  std::string beamShares() const { return frontEnd_.beamShares(); }
  // What was decided in the frame after the last that was asked for.
  Decision nextDecision();

 private:
  double meanGainAhead(std::span<const Word16> in, std::size_t filled);

  FrontEnd frontEnd_;
  FrontEnd beamformer_;  // without the engine; goes ahead by a frame on a copy of the state
  std::deque<Decision> decisions_;
};

}  // namespace arvessa::app
