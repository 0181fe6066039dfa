// SPDX-License-Identifier: Apache-2.0
#pragma once
// What two microphones hear of distant sources. Free field, no walls, no body.

#include <array>
#include <cstddef>
#include <span>
#include <vector>

#include "scene/fir.h"
#include "scene/noise.h"

namespace arvessa::app {

inline constexpr double kSpeedOfSound = 340;  // m/s

struct Position {
  double x, y;  // metres
};

// The microphones of the device that the library's beams are for, unless said otherwise.
struct MicrophoneArray {
  std::array<Position, 2> microphones = {{{-0.0697, -0.0024}, {0.0688, -0.0025}}};
};

double distanceOf(const MicrophoneArray& array);  // of the microphones, metres

using TwoChannels = std::array<std::vector<float>, 2>;

// A plane wave from a direction in the plane of the microphones. It passes halfway between them
// `latency` samples late.
class PlaneWave {
 public:
  // `degrees` from the x axis towards the y axis.
  PlaneWave(const MicrophoneArray& array, double degrees, int rate);
  std::size_t latency() const { return latency_; }
  void process(std::span<const float> wave, TwoChannels& heard);

 private:
  std::size_t latency_;
  std::array<Fir, 2> delays_;
};

// A noise as a plane wave.
class PointSource {
 public:
  PointSource(const MicrophoneArray& array, double degrees, int rate, Noise noise);
  void next(std::size_t samples, TwoChannels& heard);

 private:
  Noise noise_;
  PlaneWave wave_;
  std::vector<float> block_;
};

// A spherically isotropic field of two independent noises of equal spectrum.
class IsotropicField {
 public:
  IsotropicField(const MicrophoneArray& array, int rate, std::array<Noise, 2> noises);
  void next(std::size_t samples, TwoChannels& heard);

 private:
  std::array<Noise, 2> noises_;
  std::array<Fir, 2> filters_;
  std::vector<float> block_;
};

}  // namespace arvessa::app
