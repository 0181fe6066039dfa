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

class TracedFrontEnd : public FrontEnd {
 public:
  explicit TracedFrontEnd(bool swap) : FrontEnd({.swap = swap}) {}
  void process(std::span<const Word16> in, std::size_t filled, std::span<Word16> out) override;
  // What was decided in the frame after the last that was asked for.
  Decision nextDecision();

 private:
  std::intptr_t callLibrary(const Word16* microphones, Word16* out, ArvessaConfig& config) override;

  double meanGain_ = 1;  // of the suppression, in the last frame
  std::deque<Decision> decisions_;
};

}  // namespace arvessa::app
