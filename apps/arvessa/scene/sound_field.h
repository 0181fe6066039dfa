// SPDX-License-Identifier: Apache-2.0
#pragma once
// What two microphones hear of distant sources. Free field, no walls, no body.

#include <array>
#include <cstddef>
#include <span>
#include <vector>

#include "beams/geometry.h"
#include "scene/fir.h"
#include "scene/noise.h"

namespace arvessa::app {

using TwoChannels = std::array<std::vector<float>, 2>;

// A plane wave from a direction in the plane of the microphones. It passes halfway between them
// `latency` samples late.
class PlaneWave {
 public:
  // `degrees` from the x axis towards the y axis.
  PlaneWave(const beams::Microphones& microphones, double degrees, int rate);
  std::size_t latency() const { return latency_; }
  void process(std::span<const float> wave, TwoChannels& heard);

 private:
  std::size_t latency_;
  std::array<Fir, 2> delays_;
};

// A noise as a plane wave.
class PointSource {
 public:
  PointSource(const beams::Microphones& microphones, double degrees, int rate, Noise noise);
  void next(std::size_t samples, TwoChannels& heard);

 private:
  Noise noise_;
  PlaneWave wave_;
  std::vector<float> block_;
};

// A spherically isotropic field of two independent noises of equal spectrum.
class IsotropicField {
 public:
  IsotropicField(const beams::Microphones& microphones, int rate, std::array<Noise, 2> noises);
  void next(std::size_t samples, TwoChannels& heard);

 private:
  std::array<Noise, 2> noises_;
  std::array<Fir, 2> filters_;
  std::vector<float> block_;
};

}  // namespace arvessa::app
