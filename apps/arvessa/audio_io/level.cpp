// SPDX-License-Identifier: Apache-2.0
#include "audio_io/level.h"

#include <algorithm>
#include <cmath>

namespace arvessa::app {

double decibels(double power) {
  return power > 0 ? std::max(kSilence, 10 * std::log10(power)) : kSilence;
}

void LevelMeter::add(std::span<const Word16> samples) {
  std::int64_t sum = 0;
  for (const std::int64_t sample : samples) sum += sample * sample;
  sum_ += static_cast<double>(sum);
  count_ += static_cast<std::int64_t>(samples.size());
}

double LevelMeter::level() const {
  return count_ == 0 ? kSilence : decibels(sum_ / static_cast<double>(count_) / 32768.0 / 32768.0);
}

}  // namespace arvessa::app
