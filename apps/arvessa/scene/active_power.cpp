// SPDX-License-Identifier: Apache-2.0
#include "scene/active_power.h"

#include <algorithm>

namespace arvessa::app {

ActivePower::ActivePower(int rate)
    : block_(std::max<std::size_t>(1, static_cast<std::size_t>(rate) / 50)) {}

void ActivePower::add(std::span<const float> samples) {
  for (const float sample : samples) {
    sum_ += static_cast<double>(sample) * sample;
    if (++filled_ < block_) continue;
    powers_.push_back(sum_ / static_cast<double>(block_));
    sum_ = 0;
    filled_ = 0;
  }
}

double ActivePower::mean() const {
  std::vector<double> powers = powers_;
  if (filled_ > 0) powers.push_back(sum_ / static_cast<double>(filled_));
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
