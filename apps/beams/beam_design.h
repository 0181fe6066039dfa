// SPDX-License-Identifier: Apache-2.0
#pragma once
// Design of three beams: a superdirective MVDR beamformer in closed form, each bin on its own
// (Capon 1969; Bitzer and Simmer 2001). docs/beam_design.md tells what the design is for.

#include <array>
#include <complex>

#include "beams/geometry.h"

namespace arvessa::beams {

using Complex = std::complex<double>;

inline constexpr int kBeams = 3;
inline constexpr int kBins = 64;  // of the 128-point transform at 8 kHz

// One complex number per microphone.
using MicrophoneVector = std::array<Complex, 2>;

// [beam][bin], in the order in which the library stores them.
using Weights = std::array<std::array<MicrophoneVector, kBins>, kBeams>;

// The frequency in Hz that bin `bin` of the transform holds, and the one that its weights are made
// for: the design counts bins from one.
double transformFrequency(int bin);
double designFrequency(int bin);

// The weights that multiply the microphone bins directly, y = w[0] x1 + w[1] x2, with a gain in the
// look direction that rises from 1.03125 in bin 0 to 3 in bin 63. Where the geometry has two
// directions, the third beam is the second again and never wins.
Weights designBeams(const Geometry& geometry);

// What the beam makes of its bin.
struct Figures {
  double directivity;     // by how much it raises its direction above noise from everywhere, dB
  double whiteNoiseGain;  // and above noise that is unrelated between the microphones, dB
  double
      lookGain;  // of a wave from its direction, without the rise over the bins, dB: 0 is undistorted
};
Figures figuresOf(const Geometry& geometry, const Weights& weights, int beam, int bin);

// The direction of a beam, degrees.
double directionOf(const Geometry& geometry, int beam);

}  // namespace arvessa::beams
