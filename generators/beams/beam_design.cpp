// SPDX-License-Identifier: Apache-2.0
#include "beams/beam_design.h"

#include <cmath>
#include <cstddef>
#include <numbers>

namespace arvessa::design {
namespace {

constexpr double kTwoPi = 2.0 * std::numbers::pi;

double microphoneDistance() {
  const auto& [first, second] = kMicrophonePositions;
  return std::hypot(second.x - first.x, second.y - first.y);
}

}  // namespace

double transformFrequency(int bin) { return kBinSpacing * bin; }
double designFrequency(int bin) { return kBinSpacing * (bin + 1); }
double tilt(int bin) { return 1.0 + (bin + 1) / 32.0; }

MicrophoneVector steeringVector(double azimuth, double frequency) {
  const double angle = azimuth * std::numbers::pi / 180.0;
  MicrophoneVector d;
  for (std::size_t m = 0; m < d.size(); ++m) {
    const Position& p = kMicrophonePositions[m];
    const double delay = -(p.x * std::cos(angle) + p.y * std::sin(angle)) / kSpeedOfSound;
    d[m] = std::polar(1.0, -kTwoPi * frequency * delay);
  }
  return d;
}

double isotropicCoherence(double frequency) {
  const double x = kTwoPi * frequency * microphoneDistance() / kSpeedOfSound;
  return x == 0.0 ? 1.0 : std::sin(x) / x;
}

MicrophoneVector beamWeights(int beam, int bin) {
  const double frequency = designFrequency(bin);
  const auto d = steeringVector(kLookAzimuths[static_cast<std::size_t>(beam)], frequency);
  // R = [[a, g], [g, a]], and R^-1 is [[a, -g], [-g, a]] but for the determinant, which cancels in
  // h = R^-1 d / (d^H R^-1 d).
  const double a = 1.0 + kUncorrelatedNoise;
  const double g = isotropicCoherence(frequency);
  const MicrophoneVector v{a * d[0] - g * d[1], a * d[1] - g * d[0]};
  const Complex normalisation = std::conj(d[0]) * v[0] + std::conj(d[1]) * v[1];
  // The beam is h^H x; the conjugate is stored, so that it takes no conjugation to apply.
  return {tilt(bin) * std::conj(v[0] / normalisation), tilt(bin) * std::conj(v[1] / normalisation)};
}

Complex response(int beam, int bin, double azimuth) {
  const auto w = beamWeights(beam, bin);
  const auto d = steeringVector(azimuth, transformFrequency(bin));
  return (w[0] * d[0] + w[1] * d[1]) / tilt(bin);
}

double whiteNoiseGain(int beam, int bin) {
  const auto w = beamWeights(beam, bin);
  return tilt(bin) * tilt(bin) / (std::norm(w[0]) + std::norm(w[1]));
}

double directivity(int beam, int bin) {
  const auto w = beamWeights(beam, bin);
  const double g = isotropicCoherence(designFrequency(bin));
  const double noise =
      std::norm(w[0]) + std::norm(w[1]) + 2.0 * g * std::real(w[0] * std::conj(w[1]));
  return tilt(bin) * tilt(bin) / noise;
}

}  // namespace arvessa::design
