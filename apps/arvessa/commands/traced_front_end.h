// SPDX-License-Identifier: Apache-2.0
#pragma once
// The front end with a record of what it decided.

#include <array>
#include <deque>

#include "front_end.h"

namespace arvessa::app {

// About one frame, after it.
struct Decision {
  double inputLevel;  // dBFS
  int beam;
  int voice;
  int gainIndex;
  double gain;   // dB
  double floor;  // dB
  double meanSuppression;
};

class TracedFrontEnd : public FrontEnd {
 public:
  explicit TracedFrontEnd(bool swap) : FrontEnd({true, true, swap}) {}
  void process(std::span<const Word16> in, std::size_t filled, std::span<Word16> out) override;
  // What was decided in the frame after the last that was asked for.
  Decision nextDecision();

 private:
  void beforeFrame(const Word16* microphones) override;

  alignas(ArvessaState) std::array<std::byte, ARVESSA_WORK_BYTES> ahead_{};
  double meanGain_ = 0;
  std::deque<Decision> decisions_;
};

}  // namespace arvessa::app
