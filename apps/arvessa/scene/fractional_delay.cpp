// SPDX-License-Identifier: Apache-2.0
#include "scene/fractional_delay.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace arvessa::app {
namespace {

constexpr std::ptrdiff_t kBlock = 4096;  // of y, small enough to stay in the cache for all taps

constexpr std::size_t kTaps = std::size_t{2} * kDelayReach;

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

void addDelayed(std::span<const float> x, double delay, std::span<float> y) {
  const double whole = std::floor(delay);
  std::array<float, kTaps> taps{};
  for (std::size_t i = 0; i < kTaps; ++i) {
    taps[i] =
        static_cast<float>(kernel(static_cast<double>(i) - kDelayReach + 1 - (delay - whole)));
  }
  const auto size = static_cast<std::ptrdiff_t>(std::min(x.size(), y.size()));
  for (std::ptrdiff_t block = 0; block < size; block += kBlock) {
    auto shift = static_cast<std::ptrdiff_t>(whole) - kDelayReach;
    for (const float tap : taps) {
      ++shift;
      const std::ptrdiff_t begin = std::max(block, shift);
      const std::ptrdiff_t end = std::min({block + kBlock, size, size + shift});
      for (std::ptrdiff_t n = begin; n < end; ++n) {
        y[static_cast<std::size_t>(n)] += tap * x[static_cast<std::size_t>(n - shift)];
      }
    }
  }
}

}  // namespace arvessa::app
