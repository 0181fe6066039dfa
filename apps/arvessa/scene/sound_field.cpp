// SPDX-License-Identifier: Apache-2.0
#include "scene/sound_field.h"

#include <cmath>
#include <numbers>
#include <utility>

#include "scene/coherence_filters.h"

namespace arvessa::app {
namespace {

std::size_t latencyOf(const MicrophoneArray& array, int rate) {
  const double mostAhead = distanceOf(array) / 2 / kSpeedOfSound * rate;
  return static_cast<std::size_t>(std::ceil(mostAhead)) + kDelayReach;
}

// How much sooner than halfway between the microphones a wave passes microphone 2, in samples.
double leadOf(const MicrophoneArray& array, double degrees, int rate) {
  const double angle = degrees * std::numbers::pi / 180;
  const auto& [first, second] = array.microphones;
  const double path =
      (second.x - first.x) * std::cos(angle) + (second.y - first.y) * std::sin(angle);
  return path / 2 / kSpeedOfSound * rate;
}

}  // namespace

double distanceOf(const MicrophoneArray& array) {
  const auto& [first, second] = array.microphones;
  return std::hypot(second.x - first.x, second.y - first.y);
}

PlaneWave::PlaneWave(const MicrophoneArray& array, double degrees, int rate)
    : latency_(latencyOf(array, rate)),
      delays_{Fir(delayTaps(static_cast<double>(latency_) + leadOf(array, degrees, rate))),
              Fir(delayTaps(static_cast<double>(latency_) - leadOf(array, degrees, rate)))} {}

void PlaneWave::process(std::span<const float> wave, TwoChannels& heard) {
  for (std::size_t m = 0; m < heard.size(); ++m) {
    heard[m].resize(wave.size());
    delays_[m].process(wave, heard[m]);
  }
}

PointSource::PointSource(const MicrophoneArray& array, double degrees, int rate, Noise noise)
    : noise_(std::move(noise)), wave_(array, degrees, rate) {
  TwoChannels beginning;  // where the filters still see the silence before it
  next(2 * wave_.latency(), beginning);
}

void PointSource::next(std::size_t samples, TwoChannels& heard) {
  block_.resize(samples);
  noise_(block_);
  wave_.process(block_, heard);
}

IsotropicField::IsotropicField(const MicrophoneArray& array, int rate, std::array<Noise, 2> noises)
    : noises_(std::move(noises)), filters_([&] {
        CoherenceFilters filters = isotropicFilters(distanceOf(array), rate);
        return std::array{Fir(std::move(filters.common)), Fir(std::move(filters.opposed))};
      }()) {
  TwoChannels beginning;
  next(filters_[0].length(), beginning);
}

void IsotropicField::next(std::size_t samples, TwoChannels& heard) {
  block_.resize(samples);
  for (std::size_t i = 0; i < heard.size(); ++i) {
    heard[i].resize(samples);
    noises_[i](block_);
    filters_[i].process(block_, heard[i]);
  }
  for (std::size_t n = 0; n < samples; ++n) {
    const float common = heard[0][n];
    const float opposed = heard[1][n];
    heard[0][n] = common + opposed;
    heard[1][n] = common - opposed;
  }
}

}  // namespace arvessa::app
