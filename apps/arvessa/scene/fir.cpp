// SPDX-License-Identifier: Apache-2.0
#include "scene/fir.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <utility>

namespace arvessa::app {
namespace {

// Outputs whose sums are kept in registers together.
constexpr std::size_t kAtOnce = 16;

template <std::size_t kOutputs>
void filter(std::span<const float> taps, const float* x, float* y) {
  std::array<float, kOutputs> sums{};
  for (const float tap : taps) {
    for (std::size_t n = 0; n < kOutputs; ++n) sums[n] += tap * x[n];
    ++x;
  }
  std::ranges::copy(sums, y);
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

Fir::Fir(std::vector<float> taps) : reversed_(std::move(taps)), line_(reversed_.size() - 1) {
  std::ranges::reverse(reversed_);
}

void Fir::process(std::span<const float> x, std::span<float> y) {
  const std::size_t past = reversed_.size() - 1;
  line_.resize(past + x.size());
  std::ranges::copy(x, line_.begin() + static_cast<std::ptrdiff_t>(past));
  std::size_t n = 0;
  for (; n + kAtOnce <= y.size(); n += kAtOnce) {
    filter<kAtOnce>(reversed_, line_.data() + n, y.data() + n);
  }
  for (; n < y.size(); ++n) filter<1>(reversed_, line_.data() + n, y.data() + n);
  std::copy(line_.end() - static_cast<std::ptrdiff_t>(past), line_.end(), line_.begin());
}

std::vector<float> delayTaps(double delay) {
  std::vector<float> taps;
  for (double n = 0; n < delay + kDelayReach; ++n) {
    taps.push_back(static_cast<float>(kernel(n - delay)));
  }
  return taps;
}

}  // namespace arvessa::app
