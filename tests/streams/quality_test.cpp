// SPDX-License-Identifier: Apache-2.0
// What the engine does to a signal: how exactly it returns one, by how much it lags, and how far it
// turns noise down.
#include <cmath>
#include <numeric>

#include "Vorn.h"
#include "support/signals.h"

namespace arvessa::test {
namespace {

struct Recording {
  Samples in, out;
};

// Samples from `next`, of the time in seconds; 100 frames to the second.
template <class Next>
Recording record(std::uint8_t rateCode, std::uint8_t nr, std::uint8_t agc, int frames, Next next) {
  const int n = frameOf(rateCode);
  alignas(4) unsigned char state[VORN_STATE_BYTES];
  VornConfig cfg = {state, VORN_STATE_BYTES, VORN_CHECK_VALUE, rateCode, nr, agc, 2};
  EXPECT_EQ(VORN_Init(&cfg), 0);
  Recording r;
  r.out = inFrames(frames, [&](int frame, Word16* in, Word16* out) {
    for (int i = 0; i < n; ++i) in[i] = next((frame + 1.0 * i / n) / 100);
    r.in.insert(r.in.end(), in, in + n);
    auto length = static_cast<Word16>(n);
    EXPECT_EQ(VORN_Proc(in, n, out, &length, &cfg), 0);
    return n;
  });
  return r;
}

// Of the second half, when all has settled.
double energy(const Samples& samples) {
  return std::accumulate(samples.begin() + static_cast<std::ptrdiff_t>(samples.size() / 2),
                         samples.end(), 0.0, [](double sum, double x) { return sum + x * x; });
}

double decibels(double powers) { return 10 * std::log10(powers); }

// The AGC alone, with its gain at rest: 182008 / 65536.
TEST(Quality, ReturnsATone) {
  constexpr double kGain = 182008 / 65536.0;
  constexpr struct {
    int rateCode;
    double hertz, leastSnr;  // dB
  } kCases[] = {{0, 1000, 60}, {1, 1000, 67}, {2, 1000, 61}, {3, 1000, 40}, {3, 12000, 40}};
  for (const auto& [rateCode, hertz, leastSnr] : kCases) {
    SCOPED_TRACE(testing::Message() << "rate code " << rateCode << ", " << hertz << " Hz");
    const double turn = 2 * M_PI * hertz;
    const Recording r = record(rateCode, 0, 1, 200, [&](double t) {
      return static_cast<Word16>(std::lround(6000 * std::sin(turn * t)));
    });
    const std::size_t half = r.out.size() / 2;  // a second
    double re = 0, im = 0;
    for (std::size_t i = half; i < 2 * half; ++i) {
      const double phase = turn * static_cast<double>(i) / static_cast<double>(half);
      re += r.out[i] * std::cos(phase) / static_cast<double>(half) * 2;
      im += r.out[i] * std::sin(phase) / static_cast<double>(half) * 2;
    }
    const double tone = std::hypot(re, im);
    EXPECT_NEAR(decibels(std::pow(tone / (6000 * kGain), 2)), 0, 0.05);
    const double toneEnergy = tone * tone / 2 * static_cast<double>(half);
    EXPECT_GT(decibels(toneEnergy / (energy(r.out) - toneEnergy)), leastSnr);
  }
}

// The lag at which output and input match best, of either sign, found in white noise. At 48 kHz the
// filters add to the promised 144 and 624 samples: the two low-passes 10, and the high-pass 1, where
// its response is largest, and negative.
TEST(Quality, LatencyIsAsPromised) {
  constexpr struct {
    int rateCode;
    std::size_t from, to, lag;
  } kCases[] = {
      {0, 0, 400, 24}, {1, 0, 400, 48}, {2, 0, 400, 96}, {3, 0, 400, 154}, {3, 400, 800, 625}};
  for (const auto& [rateCode, from, to, lag] : kCases) {
    Random random(5);
    const Recording r = record(rateCode, 0, 1, 200, [&](double) { return random.wordOf(12); });
    const auto match = [&](std::size_t candidate) {
      double sum = 0;
      for (std::size_t i = 8000; i < 16000; ++i) sum += 1.0 * r.in[i - candidate] * r.out[i];
      return std::abs(sum);
    };
    std::size_t best = from;
    for (std::size_t candidate = from; candidate < to; ++candidate) {
      if (match(candidate) > match(best)) best = candidate;
    }
    EXPECT_EQ(best, lag) << "rate code " << rateCode;
  }
}

// Steady noise is turned down to the floor, which is at 15 dB for loud noise and at 7 dB for quiet
// noise; nothing comes out stronger than it went in.
TEST(Quality, NoiseIsTurnedDownToTheFloor) {
  for (int rateCode = 0; rateCode < 4; ++rateCode) {
    for (const auto& [bits, floor] : {std::pair{12, 15}, {5, 7}}) {
      Random random(5);
      const Recording r =
          record(rateCode, 1, 0, 800, [&, b = bits](double) { return random.wordOf(b); });
      EXPECT_NEAR(-decibels(energy(r.out) / energy(r.in)), floor, 0.5)
          << "rate code " << rateCode << ", " << bits << " bits";
    }
    Source speech(Signal::kSpeech, rateCode == 0 ? 2 : 1, 1);
    const Recording r = record(rateCode, 1, 0, 800, [&](double) { return speech.next(); });
    EXPECT_LT(energy(r.out), energy(r.in)) << "rate code " << rateCode;
  }
}

}  // namespace
}  // namespace arvessa::test
