// SPDX-License-Identifier: Apache-2.0
#pragma once
// Design of the three stored beams: a superdirective MVDR beamformer in closed form, each bin on
// its own (Capon 1969; Bitzer and Simmer 2001). docs/beam_design.md tells what the design is for.

#include <array>
#include <complex>

namespace arvessa::design {

using Complex = std::complex<double>;

inline constexpr int kBeams = 3;
inline constexpr int kBins = 64;  // of the 128-point transform at 8 kHz
inline constexpr int kMicrophones = 2;

inline constexpr double kBinSpacing = 62.5;        // Hz
inline constexpr double kSpeedOfSound = 340.0;     // m/s
inline constexpr double kUncorrelatedNoise = 0.1;  // power beside the isotropic field's 1: -10 dB

struct Position {  // in metres; x runs along the array
  double x;
  double y;
};

inline constexpr std::array<Position, kMicrophones> kMicrophonePositions{
    {{-0.0697, -0.0024}, {0.0688, -0.0025}}};
// Towards the source, in degrees from the x axis: 0 is end-fire with microphone 2 ahead.
inline constexpr std::array<double, kBeams> kLookAzimuths{0.0, 90.0, 180.0};

// One complex number per microphone.
using MicrophoneVector = std::array<Complex, kMicrophones>;

// The frequency in Hz that bin `bin` of the transform holds, and the one that its weights are made
// for: the design counts bins from one.
double transformFrequency(int bin);
double designFrequency(int bin);

// Gain in the look direction, 1.03125 at bin 0 to 3 at bin 63.
double tilt(int bin);

// What a plane wave of unit amplitude at the origin, from `azimuth` degrees, is at each microphone.
MicrophoneVector steeringVector(double azimuth, double frequency);

// Coherence of the microphones in a spherically isotropic field.
double isotropicCoherence(double frequency);

// The weights that multiply the microphone bins directly, y = w[0] x1 + w[1] x2, tilt included.
MicrophoneVector beamWeights(int beam, int bin);

// What a listener gets of the beam at the frequency that the bin holds in the transform, with the
// tilt taken out: 1 is distortionless.
Complex response(int beam, int bin, double azimuth);

// By how much the beam raises a signal from the look direction above noise that is uncorrelated
// between the microphones (white noise gain) and above the isotropic field (directivity), as power
// ratios at the design frequency.
double whiteNoiseGain(int beam, int bin);
double directivity(int beam, int bin);

}  // namespace arvessa::design
