// SPDX-License-Identifier: Apache-2.0
#pragma once
// What the two microphones hear of distant sources. Free field, no walls, no body.

#include <array>
#include <functional>
#include <span>
#include <vector>

#include "scene/noise.h"

namespace arvessa::app {

struct Point {
  double x, y, z;
};

inline constexpr double kSpeedOfSound = 340;  // m/s

// Metres. The array lies along x; its origin is where a wave arrives undelayed.
inline constexpr std::array<Point, 2> kMicrophones = {
    {{-0.0697, -0.0024, 0}, {0.0688, -0.0025, 0}}};

using TwoChannels = std::array<std::vector<float>, 2>;

// The direction towards a source in the plane of the array: 0 degrees is the end of microphone 2.
Point directionAt(double degrees);

// A plane wave from `direction`, a unit vector towards the source. Both channels have the length of
// `wave`.
TwoChannels planeWave(std::span<const float> wave, const Point& direction, int rate);

// A piece of noise as a plane wave, without beginning or end.
TwoChannels pointNoise(const NoiseMaker& noise, const Point& direction, int rate,
                       std::size_t samples, Random& random);

// A spherically isotropic field: independent noises as plane waves from all around. The coherence
// of the two channels is sin(x)/x with x = 2 pi f d / c, d being the distance of the microphones. `advance` is told of
// every step, as a share of the whole.
TwoChannels isotropicNoise(const NoiseMaker& noise, int rate, std::size_t samples, Random& random,
                           const std::function<void(double)>& advance);

}  // namespace arvessa::app
