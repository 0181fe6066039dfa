// SPDX-License-Identifier: Apache-2.0
#include "scene/sound_field.h"

#include <cmath>
#include <numbers>

#include "scene/fractional_delay.h"

namespace arvessa::app {
namespace {

// With the spiral's axis along the array, the cosines of the angles of incidence are evenly spaced,
// and the mean over the waves is the midpoint rule for the integral that sin(x)/x is. It holds
// while neighbouring cosines (2/kWaves apart) differ by much less than a turn in phase: at 8 kHz
// and 138.5 mm by 0.32 rad.
constexpr int kWaves = 128;

void addPlaneWave(std::span<const float> wave, const Point& direction, int rate,
                  TwoChannels& channels) {
  for (std::size_t m = 0; m < channels.size(); ++m) {
    const Point& p = kMicrophones[m];
    const double path = p.x * direction.x + p.y * direction.y + p.z * direction.z;
    addDelayed(wave, -path / kSpeedOfSound * rate, channels[m]);
  }
}

// Samples at each end that the interpolation of an endless signal spoils: its reach, and the time
// that sound takes from the origin to a microphone (less than 0.25 ms).
std::size_t marginAt(int rate) { return kDelayReach + static_cast<std::size_t>(rate) / 4000 + 1; }

TwoChannels silence(std::size_t samples) {
  return {std::vector<float>(samples), std::vector<float>(samples)};
}

TwoChannels withoutMargins(const TwoChannels& channels, std::size_t margin) {
  TwoChannels cropped;
  for (std::size_t m = 0; m < channels.size(); ++m) {
    const auto end = static_cast<std::ptrdiff_t>(margin);
    cropped[m].assign(channels[m].begin() + end, channels[m].end() - end);
  }
  return cropped;
}

}  // namespace

Point directionAt(double degrees) {
  const double angle = degrees * std::numbers::pi / 180;
  return {std::cos(angle), std::sin(angle), 0};
}

TwoChannels planeWave(std::span<const float> wave, const Point& direction, int rate) {
  TwoChannels channels = silence(wave.size());
  addPlaneWave(wave, direction, rate, channels);
  return channels;
}

TwoChannels pointNoise(const NoiseMaker& noise, const Point& direction, int rate,
                       std::size_t samples, Random& random) {
  const std::size_t margin = marginAt(rate);
  std::vector<float> wave(samples + 2 * margin);
  noise(wave, random);
  return withoutMargins(planeWave(wave, direction, rate), margin);
}

TwoChannels isotropicNoise(const NoiseMaker& noise, int rate, std::size_t samples, Random& random,
                           const std::function<void(double)>& advance) {
  const std::size_t margin = marginAt(rate);
  std::vector<float> wave(samples + 2 * margin);
  TwoChannels channels = silence(wave.size());
  const double goldenAngle = std::numbers::pi * (3 - std::sqrt(5.0));
  for (int i = 0; i < kWaves; ++i) {
    const double x = 1 - (2 * i + 1.0) / kWaves;
    const double radius = std::sqrt(1 - x * x);
    const Point direction = {x, radius * std::cos(goldenAngle * i),
                             radius * std::sin(goldenAngle * i)};
    noise(wave, random);
    addPlaneWave(wave, direction, rate, channels);
    advance(1.0 / kWaves);
  }
  return withoutMargins(channels, margin);
}

}  // namespace arvessa::app
