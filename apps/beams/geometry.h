// SPDX-License-Identifier: Apache-2.0
#pragma once
// Where the two microphones are, and where the beams look.

#include <array>
#include <string>
#include <vector>

namespace arvessa::beams {

inline constexpr double kSpeedOfSound = 340;  // m/s

struct Position {  // m
  double x;
  double y;
};

using Microphones = std::array<Position, 2>;

struct Geometry {
  Microphones microphones;
  // Towards the source, degrees from the x axis, counter-clockwise; two or three of them.
  std::vector<double> directions;
};

// That of the stored beams: 0 degrees is end-fire with microphone 2 ahead.
Geometry storedGeometry();

double distance(const Microphones& microphones);  // m

// The frequency in Hz at which the microphones are half a wavelength apart. Above it the beams have
// side lobes.
double sideLobeFrequency(const Microphones& microphones);

// Why no beams can be made for it; empty if they can.
std::string reasonAgainst(const Geometry& geometry);

}  // namespace arvessa::beams
