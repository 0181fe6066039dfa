// SPDX-License-Identifier: Apache-2.0
#include "scene/sound_field.h"

#include <cmath>
#include <numbers>
#include <utility>

#include "scene/coherence_filters.h"

namespace arvessa::app {
namespace {

std::size_t latencyOf(const beams::Microphones& microphones, int rate) {
  const double mostAhead = beams::distance(microphones) / 2 / beams::kSpeedOfSound * rate;
  return static_cast<std::size_t>(std::ceil(mostAhead)) + kDelayReach;
}

// How much sooner than halfway between the microphones a wave passes microphone 2, in samples.
double leadOf(const beams::Microphones& microphones, double degrees, int rate) {
  const double angle = degrees * std::numbers::pi / 180;
  const auto& [first, second] = microphones;
  const double path =
      (second.x - first.x) * std::cos(angle) + (second.y - first.y) * std::sin(angle);
  return path / 2 / beams::kSpeedOfSound * rate;
}

}  // namespace

PlaneWave::PlaneWave(const beams::Microphones& microphones, double degrees, int rate)
    : latency_(latencyOf(microphones, rate)),
      delays_{Fir(delayTaps(static_cast<double>(latency_) + leadOf(microphones, degrees, rate))),
              Fir(delayTaps(static_cast<double>(latency_) - leadOf(microphones, degrees, rate)))} {}

void PlaneWave::process(std::span<const float> wave, TwoChannels& heard) {
  for (std::size_t m = 0; m < heard.size(); ++m) {
    heard[m].resize(wave.size());
    delays_[m].process(wave, heard[m]);
  }
}

PointSource::PointSource(const beams::Microphones& microphones, double degrees, int rate,
                         Noise noise)
    : noise_(std::move(noise)), wave_(microphones, degrees, rate) {
  TwoChannels beginning;  // where the filters still see the silence before it
  next(2 * wave_.latency(), beginning);
}

void PointSource::next(std::size_t samples, TwoChannels& heard) {
  block_.resize(samples);
  noise_(block_);
  wave_.process(block_, heard);
}

IsotropicField::IsotropicField(const beams::Microphones& microphones, int rate,
                               std::array<Noise, 2> noises)
    : noises_(std::move(noises)), filters_([&] {
        CoherenceFilters filters = isotropicFilters(beams::distance(microphones), rate);
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
