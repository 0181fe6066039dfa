// SPDX-License-Identifier: Apache-2.0
#include "beams/beam_design.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace arvessa::beams {
namespace {

constexpr double kTwoPi = 2.0 * std::numbers::pi;
constexpr double kBinSpacing = 62.5;        // Hz
constexpr double kUncorrelatedNoise = 0.1;  // power beside the isotropic field's 1: -10 dB

double tilt(int bin) { return 1.0 + (bin + 1) / 32.0; }

// What a plane wave of unit amplitude at the origin, from `azimuth` degrees, is at each microphone.
MicrophoneVector steeringVector(const Geometry& geometry, double azimuth, double frequency) {
  const double angle = azimuth * std::numbers::pi / 180.0;
  MicrophoneVector d;
  for (std::size_t m = 0; m < d.size(); ++m) {
    const Position& p = geometry.microphones[m];
    const double delay = -(p.x * std::cos(angle) + p.y * std::sin(angle)) / kSpeedOfSound;
    d[m] = std::polar(1.0, -kTwoPi * frequency * delay);
  }
  return d;
}

// Coherence of the microphones in a spherically isotropic field.
double isotropicCoherence(const Geometry& geometry, double frequency) {
  const double x = kTwoPi * frequency * distance(geometry.microphones) / kSpeedOfSound;
  return x == 0.0 ? 1.0 : std::sin(x) / x;
}

MicrophoneVector beamWeights(const Geometry& geometry, double direction, int bin) {
  const double frequency = designFrequency(bin);
  const auto d = steeringVector(geometry, direction, frequency);
  // R = [[a, g], [g, a]], and R^-1 is [[a, -g], [-g, a]] but for the determinant, which cancels in
  // h = R^-1 d / (d^H R^-1 d).
  const double a = 1.0 + kUncorrelatedNoise;
  const double g = isotropicCoherence(geometry, frequency);
  const MicrophoneVector v{a * d[0] - g * d[1], a * d[1] - g * d[0]};
  const Complex normalisation = std::conj(d[0]) * v[0] + std::conj(d[1]) * v[1];
  // The beam is h^H x; the conjugate is stored, so that it takes no conjugation to apply.
  return {tilt(bin) * std::conj(v[0] / normalisation), tilt(bin) * std::conj(v[1] / normalisation)};
}

double powerDecibels(double ratio) { return 10.0 * std::log10(ratio); }

}  // namespace

double transformFrequency(int bin) { return kBinSpacing * bin; }
double designFrequency(int bin) { return kBinSpacing * (bin + 1); }

double directionOf(const Geometry& geometry, int beam) {
  const std::size_t last = geometry.directions.size() - 1;
  return geometry.directions[std::min(static_cast<std::size_t>(beam), last)];
}

Weights designBeams(const Geometry& geometry) {
  Weights weights;
  for (int beam = 0; beam < kBeams; ++beam) {
    for (int bin = 0; bin < kBins; ++bin) {
      weights.at(static_cast<std::size_t>(beam)).at(static_cast<std::size_t>(bin)) =
          beamWeights(geometry, directionOf(geometry, beam), bin);
    }
  }
  return weights;
}

Figures figuresOf(const Geometry& geometry, const Weights& weights, int beam, int bin) {
  const auto& w = weights.at(static_cast<std::size_t>(beam)).at(static_cast<std::size_t>(bin));
  const double ownNoise = std::norm(w[0]) + std::norm(w[1]);
  const double g = isotropicCoherence(geometry, designFrequency(bin));
  const double fieldNoise = ownNoise + 2.0 * g * std::real(w[0] * std::conj(w[1]));
  const double signal = tilt(bin) * tilt(bin);
  const auto d = steeringVector(geometry, directionOf(geometry, beam), transformFrequency(bin));
  return {powerDecibels(signal / fieldNoise), powerDecibels(signal / ownNoise),
          powerDecibels(std::norm(w[0] * d[0] + w[1] * d[1]) / signal)};
}

}  // namespace arvessa::beams
