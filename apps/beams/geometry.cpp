// SPDX-License-Identifier: Apache-2.0
#include "beams/geometry.h"

#include <cmath>
#include <numbers>

namespace arvessa::beams {
namespace {

constexpr double kLeastDistance = 0.001;  // m
constexpr double kLargestDistance = 1;
constexpr double kLeastCosineStep = 0.01;  // of the angles to the microphones' line

// Two microphones hear of a direction its angle to their line alone.
double cosineToLine(const Geometry& geometry, double degrees) {
  const auto& [first, second] = geometry.microphones;
  const double angle = degrees * std::numbers::pi / 180;
  return ((second.x - first.x) * std::cos(angle) + (second.y - first.y) * std::sin(angle)) /
         distance(geometry.microphones);
}

std::string shown(double degrees) {
  std::string text = std::to_string(degrees);
  text.erase(text.find_last_not_of('0') + 1);
  if (text.ends_with('.')) text.pop_back();
  return text;
}

}  // namespace

double distance(const Microphones& microphones) {
  const auto& [first, second] = microphones;
  return std::hypot(second.x - first.x, second.y - first.y);
}

double sideLobeFrequency(const Microphones& microphones) {
  return kSpeedOfSound / (2 * distance(microphones));
}

std::string reasonAgainst(const Geometry& geometry) {
  const double apart = distance(geometry.microphones);
  if (!(apart >= kLeastDistance)) return "the microphones are at the same place";
  if (!(apart <= kLargestDistance)) return "the microphones are farther apart than 1 m";
  const auto& directions = geometry.directions;
  if (directions.size() < 2) return "the choice between beams takes at least two directions";
  if (directions.size() > 3) return "there are at most three beams";
  for (std::size_t i = 0; i < directions.size(); ++i) {
    if (!(std::abs(directions[i]) <= 360)) {
      return shown(directions[i]) + " is not a direction from -360 to 360 degrees";
    }
    for (std::size_t j = 0; j < i; ++j) {
      const double step =
          cosineToLine(geometry, directions[i]) - cosineToLine(geometry, directions[j]);
      if (std::abs(step) < kLeastCosineStep) {
        return "two microphones cannot tell " + shown(directions[j]) + " and " +
               shown(directions[i]) + " degrees apart: both lie at the same angle to their line";
      }
    }
  }
  return {};
}

}  // namespace arvessa::beams
