// SPDX-License-Identifier: Apache-2.0
#include "scene/noise.h"

#include <cmath>
#include <numbers>
#include <utility>

namespace arvessa::app {
namespace {

constexpr double kTurn = 2 * std::numbers::pi;

constexpr double kBladePass = 7 * 25.0;     // Hz
constexpr int kBladeHarmonics = 6;          // with amplitudes 1, 1/2, 1/3, ...
constexpr double kPitchWaver = 0.01;        // standard deviation of the pitch, redrawn every 10 ms
constexpr double kTurbulenceCorner = 300;   // Hz
constexpr double kTonesToTurbulence = 0.3;  // amplitude of the first tone over the noise's rms

}  // namespace

double Random::uniform() { return static_cast<double>(engine_() >> 11) * 0x1p-53; }

// The sum of twelve uniform numbers, four to a draw, has variance 1; it needs no function whose
// last bit depends on the maths library.
double Random::normal() {
  std::uint64_t sum = 0;
  for (int draw = 0; draw < 3; ++draw) {
    std::uint64_t bits = engine_();
    for (int part = 0; part < 4; ++part, bits >>= 16) sum += bits & 0xFFFF;
  }
  return (static_cast<double>(sum) + 6) * 0x1p-16 - 6;
}

NoiseMaker whiteNoise() {
  return [](std::span<float> to, Random& random) {
    for (float& sample : to) sample = static_cast<float>(random.normal());
  };
}

NoiseMaker fanNoise(int rate) {
  return [rate](std::span<float> to, Random& random) {
    const double pole = std::exp(-kTurn * kTurbulenceCorner / rate);
    const double drive = std::sqrt(1 - pole * pole);  // for variance 1
    double turbulence = random.normal();
    double phase = kTurn * random.uniform();
    double step = 0;
    int untilRedrawn = 0;
    for (float& sample : to) {
      if (untilRedrawn-- == 0) {
        step = kTurn * kBladePass / rate * (1 + kPitchWaver * random.normal());
        untilRedrawn = rate / 100;
      }
      phase = std::fmod(phase + step, kTurn);
      turbulence = pole * turbulence + drive * random.normal();
      // cos(k phase) from the two before it.
      const double first = std::cos(phase);
      double previous = 1;
      double current = first;
      double tones = 0;
      for (int k = 1; k <= kBladeHarmonics && k * kBladePass < 0.45 * rate; ++k) {
        tones += current / k;
        previous = std::exchange(current, 2 * first * current - previous);
      }
      sample = static_cast<float>(turbulence + kTonesToTurbulence * tones);
    }
  };
}

NoiseMaker pieces(std::vector<float> recording, double speedSpread) {
  return [recording = std::move(recording), speedSpread](std::span<float> to, Random& random) {
    const auto length = static_cast<double>(recording.size());
    const double speed = 1 + speedSpread * (2 * random.uniform() - 1);
    double position = length * random.uniform();
    for (float& sample : to) {
      position = std::fmod(position, length);
      const auto before = static_cast<std::size_t>(position);
      const std::size_t after = before + 1 < recording.size() ? before + 1 : 0;
      const double share = position - std::floor(position);
      sample = static_cast<float>((1 - share) * recording[before] + share * recording[after]);
      position += speed;
    }
  };
}

}  // namespace arvessa::app
