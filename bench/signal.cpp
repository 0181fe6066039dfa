// SPDX-License-Identifier: Apache-2.0
#include "signal.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <utility>

#include "noise_reduction/geometry.h"

namespace arvessa::bench {
namespace {

constexpr std::size_t kRecordedRate = 16000;  // Hz
constexpr int kNoisePeak = 400;               // about -43 dBFS rms once summed over four draws

using Samples = std::vector<Word16>;

// One channel, 16 bits, after the canonical header of 44 bytes.
Samples recording() {
  constexpr std::size_t kHeader = 44;
  std::ifstream file(ARVESSA_RECORDING, std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(file)), {});
  if (bytes.size() < kHeader + 2 * kRecordedRate || bytes.compare(0, 4, "RIFF") != 0) {
    throw std::runtime_error("no recording at " ARVESSA_RECORDING);
  }
  Samples samples((bytes.size() - kHeader) / 2);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const auto low = static_cast<unsigned char>(bytes[kHeader + 2 * i]);
    const auto high = static_cast<unsigned char>(bytes[kHeader + 2 * i + 1]);
    samples[i] = static_cast<Word16>(static_cast<std::uint16_t>(low | high << 8));
  }
  return samples;
}

// Straight lines between the samples; good enough for a load.
Samples resampled(const Samples& in, std::size_t rate) {
  Samples out((in.size() - 1) * rate / kRecordedRate);
  for (std::size_t i = 0; i < out.size(); ++i) {
    const std::size_t position = i * kRecordedRate;
    const auto fraction = static_cast<std::int64_t>(position % rate);
    const Word16* x = in.data() + position / rate;
    const auto unit = static_cast<std::int64_t>(rate);
    out[i] = static_cast<Word16>((x[0] * (unit - fraction) + x[1] * fraction) / unit);
  }
  return out;
}

// Nearly Gaussian noise: the sum of four uniform draws of a linear congruential generator (the
// multiplier is Knuth's, The Art of Computer Programming 3.3.4).
void addNoise(Samples& samples, std::uint64_t seed) {
  std::uint64_t state = seed;
  for (Word16& sample : samples) {
    int noise = 0;
    for (int i = 0; i < 4; ++i) {
      state = state * 6364136223846793005U + 1442695040888963407U;
      noise += static_cast<int>((state >> 33) % (kNoisePeak + 1)) - kNoisePeak / 2;
    }
    sample = static_cast<Word16>(std::clamp(sample + noise, -32768, 32767));
  }
}

Samples voiceAt(int rateCode) {
  return resampled(recording(), std::size_t{100} * static_cast<unsigned>(kRates[rateCode].samples));
}

}  // namespace

FrameStream::FrameStream(std::vector<Word16> samples, int frameLength)
    : samples_(std::move(samples)),
      frameLength_(static_cast<std::size_t>(frameLength)),
      frames_(static_cast<int>(samples_.size()) / frameLength) {}

FrameStream noisySpeech(int rateCode) {
  Samples samples = voiceAt(rateCode);
  addNoise(samples, 1);
  return {std::move(samples), kRates[rateCode].samples};
}

FrameStream noisySpeechOfTwo() {
  Samples near = voiceAt(0);
  Samples far(near.size(), 0);
  std::copy(near.begin(), near.end() - 1, far.begin() + 1);
  addNoise(near, 1);
  addNoise(far, 2);
  const int frame = kRates[0].samples;
  Samples both;
  const auto whole = static_cast<std::ptrdiff_t>(near.size()) / frame;
  for (std::ptrdiff_t i = 0; i < whole; ++i) {
    for (const Samples* mic : {&near, &far}) {
      both.insert(both.end(), mic->begin() + i * frame, mic->begin() + (i + 1) * frame);
    }
  }
  return {std::move(both), 2 * frame};
}

}  // namespace arvessa::bench
