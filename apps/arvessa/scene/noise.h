// SPDX-License-Identifier: Apache-2.0
#pragma once
// Kinds of noise. The same seed gives the same samples with every standard library.

#include <cstdint>
#include <functional>
#include <random>
#include <span>

namespace arvessa::app {

// Every `stream` of a seed has numbers of its own.
class Random {
 public:
  Random(std::uint64_t seed, std::uint32_t stream);
  double uniform();  // 0 <= u < 1
  double normal();   // mean 0, variance 1, within +-6

 private:
  std::mt19937_64 engine_;
};

// Fills its argument with the next samples of a noise without end.
using Noise = std::function<void(std::span<float>)>;

Noise whiteNoise(Random random);

// A fan of seven blades at 25 turns a second: turbulence that falls by 6 dB per octave above 300
// Hz, and the tones of the blades with a wavering pitch.
Noise fanNoise(int rate, Random random);

}  // namespace arvessa::app
