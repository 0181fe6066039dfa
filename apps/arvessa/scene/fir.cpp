// SPDX-License-Identifier: Apache-2.0
#include "scene/fir.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <utility>

namespace arvessa::app {
namespace {

// Outputs that stay in the cache for all taps.
constexpr std::size_t kBlock = 512;

// Taps that are worked off together, so that sums are loaded and stored less often.
constexpr std::size_t kTogether = 4;

// Adds what four taps and x[0 .. size + 2] contribute to y.
void addFour(const float* taps, const float* x, std::span<float> y) {
  const float a = taps[0];
  const float b = taps[1];
  const float c = taps[2];
  const float d = taps[3];
  for (std::size_t n = 0; n < y.size(); ++n) {
    y[n] = y[n] + a * x[n] + b * x[n + 1] + c * x[n + 2] + d * x[n + 3];
  }
}

// Ideal interpolation at a distance of `t` samples, faded out towards +-kDelayReach.
double kernel(double t) {
  if (std::abs(t) >= kDelayReach) return 0;
  const double angle = std::numbers::pi * t;
  const double sinc = std::abs(t) < 1e-9 ? 1 : std::sin(angle) / angle;
  const double window =
      0.42 + 0.5 * std::cos(angle / kDelayReach) + 0.08 * std::cos(2 * angle / kDelayReach);
  return sinc * window;
}

}  // namespace

Fir::Fir(std::vector<float> taps) : reversed_(std::move(taps)) {
  while (reversed_.size() % kTogether != 0) reversed_.push_back(0);
  std::ranges::reverse(reversed_);
  line_.resize(reversed_.size() - 1);
}

void Fir::process(std::span<const float> x, std::span<float> y) {
  const std::size_t past = reversed_.size() - 1;
  line_.resize(past + x.size());
  std::ranges::copy(x, line_.begin() + static_cast<std::ptrdiff_t>(past));
  std::ranges::fill(y, 0.0F);
  for (std::size_t n = 0; n < y.size(); n += kBlock) {
    const std::span<float> block = y.subspan(n, std::min(kBlock, y.size() - n));
    for (std::size_t k = 0; k < reversed_.size(); k += kTogether) {
      addFour(reversed_.data() + k, line_.data() + n + k, block);
    }
  }
  std::copy(line_.end() - static_cast<std::ptrdiff_t>(past), line_.end(), line_.begin());
}

std::vector<float> delayTaps(double delay) {
  std::vector<float> taps(static_cast<std::size_t>(std::ceil(delay + kDelayReach)));
  for (std::size_t n = 0; n < taps.size(); ++n) {
    taps[n] = static_cast<float>(kernel(static_cast<double>(n) - delay));
  }
  return taps;
}

}  // namespace arvessa::app
