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

std::mt19937_64 engineFor(std::uint64_t seed, std::uint32_t stream) {
  std::seed_seq sequence = {static_cast<std::uint32_t>(seed),
                            static_cast<std::uint32_t>(seed >> 32), stream};
  return std::mt19937_64(sequence);
}

// A point on the unit circle.
struct Phase {
  explicit Phase(double angle) : cosine(std::cos(angle)), sine(std::sin(angle)) {}
  void advance(const Phase& step) {
    const double c = cosine * step.cosine - sine * step.sine;
    sine = sine * step.cosine + cosine * step.sine;
    cosine = c;
  }
  void normalise() {
    const double length = std::sqrt(cosine * cosine + sine * sine);
    cosine /= length;
    sine /= length;
  }
  double cosine, sine;
};

class Fan {
 public:
  Fan(int rate, Random random)
      : rate_(rate),
        random_(random),
        pole_(std::exp(-kTurn * kTurbulenceCorner / rate)),
        drive_(std::sqrt(1 - pole_ * pole_)),
        turbulence_(random_.normal()),
        phase_(kTurn * random_.uniform()) {
    while (harmonics_ < kBladeHarmonics && (harmonics_ + 1) * kBladePass < 0.45 * rate) {
      ++harmonics_;
    }
  }

  void operator()(std::span<float> to) {
    for (float& sample : to) {
      if (untilRedrawn_-- == 0) redraw();
      phase_.advance(step_);
      turbulence_ = pole_ * turbulence_ + drive_ * random_.normal();
      // cos(k phase) from the two before it.
      double previous = 1;
      double current = phase_.cosine;
      double tones = 0;
      for (int k = 1; k <= harmonics_; ++k) {
        tones += current / k;
        previous = std::exchange(current, 2 * phase_.cosine * current - previous);
      }
      sample = static_cast<float>(turbulence_ + kTonesToTurbulence * tones);
    }
  }

 private:
  void redraw() {
    step_ = Phase(kTurn * kBladePass / rate_ * (1 + kPitchWaver * random_.normal()));
    phase_.normalise();
    untilRedrawn_ = rate_ / 100 - 1;
  }

  int rate_;
  Random random_;
  double pole_;
  double drive_;  // for variance 1
  double turbulence_;
  Phase phase_;
  Phase step_{0};
  int harmonics_ = 0;  // below the band's end
  int untilRedrawn_ = 0;
};

}  // namespace

Random::Random(std::uint64_t seed, std::uint32_t stream) : engine_(engineFor(seed, stream)) {}

double Random::uniform() { return static_cast<double>(engine_() >> 11) * 0x1p-53; }

// The sum of twelve uniform numbers, four to a draw, has variance 1; it needs no function whose
// last bit depends on the maths library.
double Random::normal() {
  std::uint64_t sum = 0;
  for (int draw = 0; draw < 3; ++draw) {
    std::uint64_t bits = engine_();
    for (int part = 0; part < 4; ++part, bits >>= 16) sum += bits & 0xFFFF;
  }
  return static_cast<double>(static_cast<std::int64_t>(sum) + 6) * 0x1p-16 - 6;
}

Noise whiteNoise(Random random) {
  return [random](std::span<float> to) mutable {
    for (float& sample : to) sample = static_cast<float>(random.normal());
  };
}

Noise fanNoise(int rate, Random random) { return Fan(rate, random); }

}  // namespace arvessa::app
