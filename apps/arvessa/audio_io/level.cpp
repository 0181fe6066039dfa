// SPDX-License-Identifier: Apache-2.0
#include "audio_io/level.h"

#include <algorithm>
#include <cmath>
#include <vector>

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

double meanPower(std::span<const float> samples) {
  double sum = 0;
  for (const float sample : samples) sum += static_cast<double>(sample) * sample;
  return samples.empty() ? 0 : sum / static_cast<double>(samples.size());
}

double activePower(std::span<const float> samples, int rate) {
  const auto block = std::max<std::size_t>(1, static_cast<std::size_t>(rate) / 50);
  std::vector<double> powers;
  for (std::size_t n = 0; n < samples.size(); n += block) {
    powers.push_back(meanPower(samples.subspan(n, std::min(block, samples.size() - n))));
  }
  if (powers.empty()) return 0;
  const double threshold = std::ranges::max(powers) / 1000;  // -30 dB
  double sum = 0;
  int active = 0;
  for (const double power : powers) {
    if (power < threshold) continue;
    sum += power;
    ++active;
  }
  return sum / active;
}

}  // namespace arvessa::app
