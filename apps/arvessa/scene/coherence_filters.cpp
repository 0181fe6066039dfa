// SPDX-License-Identifier: Apache-2.0
#include "scene/coherence_filters.h"

#include <cmath>
#include <cstddef>
#include <numbers>

#include "scene/sound_field.h"

namespace arvessa::app {
namespace {

// sqrt((1 - g) / 2) is |x| / sqrt(12) near 0, with a corner that would take a long filter. The phase
// of n2 is free: the square root with the sign of f is smooth there, and j times it is the response
// of an odd filter. Half a sample from the middle, which an even number of taps brings, lets it
// differ from 0 at half the rate. Both roots are analytic for |Im x| < 2.25, where the nearest
// complex solution of sin(x) = -x lies, so that the taps fall by exp(-2.25) in every d/c: below
// 0.002 in three of them. What is left comes from the corners at half the rate; the further samples
// keep it small where d/c is short.
constexpr double kReach = 3;  // d/c
constexpr int kFurtherSamples = 16;

}  // namespace

CoherenceFilters isotropicFilters(double distance, int rate) {
  const double delay = distance / beams::kSpeedOfSound * rate;  // samples
  const int reach = static_cast<int>(std::ceil(kReach * delay)) + kFurtherSamples;
  std::vector<double> common(2 * static_cast<std::size_t>(reach) + 1);
  std::vector<double> opposed(2 * static_cast<std::size_t>(reach));
  // The midpoint rule for the inverse Fourier transform, between 0 and half the rate.
  const int points = 4 * reach;
  for (int i = 0; i < points; ++i) {
    const double angle = std::numbers::pi * (i + 0.5) / points;  // a sample
    const double x = angle * delay;
    const double g = std::sin(x) / x;
    const double even = std::sqrt((1 + g) / 2) / points;
    const double odd = std::sqrt((1 - g) / 2) / points;
    for (std::size_t k = 0; k < common.size(); ++k) {
      common[k] += even * std::cos(angle * (static_cast<double>(k) - reach));
    }
    for (std::size_t k = 0; k < opposed.size(); ++k) {
      opposed[k] += odd * std::sin(angle * (static_cast<double>(k) - reach + 0.5));
    }
  }
  return {{common.begin(), common.end()}, {opposed.begin(), opposed.end()}};
}

}  // namespace arvessa::app
