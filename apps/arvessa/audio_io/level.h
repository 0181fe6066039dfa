// SPDX-License-Identifier: Apache-2.0
#pragma once
// Levels, in dB relative to full scale: the mean square of a constant of +-1 is 0 dBFS, and a
// full-scale sine has -3.01 dBFS.

#include <cstdint>
#include <span>

#include "ArvessaTypes.h"

namespace arvessa::app {

inline constexpr double kSilence = -100.0;  // dBFS, shown for everything below

double decibels(double power);  // not below kSilence

class LevelMeter {
 public:
  void add(std::span<const Word16> samples);
  double level() const;  // dBFS of everything added

 private:
  double sum_ = 0;
  std::int64_t count_ = 0;
};

}  // namespace arvessa::app
