// SPDX-License-Identifier: Apache-2.0
// What rate conversion does to tones: the figures that audio_io/resampler.h promises.
#include "audio_io/resampler.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>

namespace arvessa::app {
namespace {

struct Conversion {
  std::vector<float> samples;
  double latency = 0;  // ms by which the result stays behind what has come in, at most
};

// A second of a tone of half full scale, fed as a live stream is: 10 ms at a time.
Conversion convertTone(double frequency, int from, int to) {
  Resampler resampler(1, from, to);
  Conversion result;
  std::vector<float> block(from / 100);
  for (int begin = 0; begin < from; begin += block.size()) {
    for (std::size_t i = 0; i < block.size(); ++i) {
      block[i] = 0.5 * std::sin(2 * std::numbers::pi * frequency * (begin + i) / from);
    }
    const bool last = begin + static_cast<int>(2 * block.size()) > from;
    const double in = static_cast<double>(begin + block.size()) / from;
    if (last) block.resize(from - begin);
    resampler.process(block, last, result.samples);
    if (!last) {
      result.latency =
          std::max(result.latency, 1000 * (in - static_cast<double>(result.samples.size()) / to));
    }
    if (last) break;
  }
  return result;
}

// Complex amplitude in the middle half, as a share of that of convertTone, under a Hann window.
std::complex<double> gain(const std::vector<float>& samples, double frequency, int rate) {
  std::complex<double> sum = 0;
  double weights = 0;
  for (int n = rate / 4; n < rate * 3 / 4; ++n) {
    const double weight = std::pow(std::sin(2 * std::numbers::pi * (n - rate / 4) / rate), 2);
    sum += weight * samples[n] * std::polar(1.0, -2 * std::numbers::pi * frequency * n / rate);
    weights += weight;
  }
  return 4.0 * sum / weights * std::complex<double>(0, 1);
}

TEST(Resampler, PassesTheBandAndStopsTheRestWithoutDelay) {
  const struct {
    int from, to;
    double latency;
  } kCases[] = {{48000, 8000, 75},    {44100, 8000, 82},    {16000, 8000, 117},
                {44100, 48000, 21.5}, {48000, 44100, 19.5}, {11025, 16000, 86}};
  for (const auto& [from, to, latency] : kCases) {
    const double nyquist = std::min(from, to) / 2.0;
    SCOPED_TRACE(std::to_string(from) + " to " + std::to_string(to));
    double longest = 0;
    for (const double share : {0.05, 0.31, 0.62, 0.83, 0.9}) {
      const Conversion tone = convertTone(share * nyquist, from, to);
      ASSERT_EQ(tone.samples.size(), to);
      const std::complex<double> response = gain(tone.samples, share * nyquist, to);
      EXPECT_LT(std::abs(20 * std::log10(std::abs(response))), 0.01) << share;
      EXPECT_LT(std::abs(std::arg(response)) / (std::numbers::pi * share), 1e-4) << share;
      longest = std::max(longest, tone.latency);
    }
    EXPECT_LT(longest, latency);
    for (const double share : {1.01, 1.3, 1.9}) {
      if (to > from || share * nyquist >= from / 2.0) continue;
      const std::vector<float> left = convertTone(share * nyquist, from, to).samples;
      double peak = 0;
      for (int n = to / 4; n < to * 3 / 4; ++n) peak = std::max<double>(peak, std::abs(left[n]));
      EXPECT_LT(20 * std::log10(peak / 0.5), -120) << share;
    }
  }
}

}  // namespace
}  // namespace arvessa::app
