// SPDX-License-Identifier: Apache-2.0
#pragma once
// Kinds of noise. The same seed gives the same samples with every standard library.

#include <cstdint>
#include <functional>
#include <random>
#include <span>
#include <vector>

namespace arvessa::app {

class Random {
 public:
  explicit Random(std::uint64_t seed) : engine_(seed) {}
  double uniform();  // 0 <= u < 1
  double normal();   // mean 0, variance 1, within +-6

 private:
  std::mt19937_64 engine_;
};

// Fills its argument with a new piece of noise, independent of the pieces before.
using NoiseMaker = std::function<void(std::span<float>, Random&)>;

NoiseMaker whiteNoise();

// A fan of seven blades at 25 turns a second: turbulence that falls by 6 dB per octave above 300
// Hz, and the tones of the blades with a wavering pitch.
NoiseMaker fanNoise(int rate);

// Pieces of a recording, which is repeated as needed, each from a random place and at a random
// speed up to `speedSpread` (a fraction) faster or slower. Many of them on top of each other make
// babble out of one voice.
NoiseMaker pieces(std::vector<float> recording, double speedSpread);

}  // namespace arvessa::app
