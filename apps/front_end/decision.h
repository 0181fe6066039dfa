// SPDX-License-Identifier: Apache-2.0
#pragma once
// What was decided in a frame.

#include "abi/engine_state.h"
#include "noise_reduction/pipeline.h"

namespace arvessa::app {

// About one frame, after it.
struct Decision {
  int beam = 0;                // in use, 0..2
  int voice = 0;               // 1 if the frame carries voice
  int agcIndex = 0;            // of the AGC's gain in its table, 0..31
  double agcGain = 0;          // dB
  double floor = 0;            // of the suppression, dB
  double meanSuppression = 0;  // mean gain over all bins, dB; 0 without suppression
};

// Observes the engine: takes the mean of the suppression gains, which the engine keeps nowhere.
struct MeanGain {
  double& mean;

  void operator()(const GainsFound& found) const;
  template <class Record>
  void operator()(const Record& /*other*/) const {}
};

// From the engine's state after a frame, the number of its gain table, and the mean gain.
Decision decisionOf(const WvqeState& engine, int gainTableNumber, double meanGain, int beam);

}  // namespace arvessa::app
