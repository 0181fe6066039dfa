// SPDX-License-Identifier: Apache-2.0
// Deterministic test signals: integer arithmetic and the recording in the repository, the same
// samples on every machine.
#pragma once

#include <cstdint>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/support.h"

namespace arvessa::test {

using Samples = std::vector<Word16>;

// Samples of the engine's 10 ms, at 8, 16, 32 and 48 kHz.
inline int frameOf(int rateCode) { return rateCode == 0 ? 80 : 160 * rateCode; }

// The recorded voice: 16 kHz, one channel, a canonical 44-byte header.
inline const Samples& speech() {
  static const Samples samples = [] {
    std::ifstream file(ARVESSA_SOURCE_DIR "/audio/speech_female_16k.wav", std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(file)), {});
    if (bytes.size() < 100000) throw std::runtime_error("the recording is missing");
    Samples out;
    for (std::size_t i = 44; i + 1 < bytes.size(); i += 2) {
      out.push_back(static_cast<Word16>(static_cast<unsigned char>(bytes[i]) |
                                        static_cast<unsigned char>(bytes[i + 1]) << 8));
    }
    return out;
  }();
  return samples;
}

enum class Signal { kSilence, kSpeech, kNoisySpeech, kNoise, kFullScale, kTone, kBursts };

class Source {
 public:
  Source(Signal signal, int step, std::uint64_t seed)
      : signal_(signal), step_(step), random_(seed) {}

  // `step`: recorded samples per sample, for speech; a pitch, for tones.
  Word16 next() {
    const auto t = time_++;
    const auto noise = [&](int bits) { return random_.wordOf(bits); };
    const auto voice = [&] {
      return int{speech()[t * static_cast<std::size_t>(step_) % speech().size()]};
    };
    switch (signal_) {
      case Signal::kSilence:
        return 0;
      case Signal::kSpeech:
        return static_cast<Word16>(voice());
      case Signal::kNoisySpeech:
        return static_cast<Word16>(voice() / 2 + noise(9));
      case Signal::kNoise:
        return static_cast<Word16>(noise(12));
      case Signal::kFullScale:
        return random_.below(2) == 0 ? Word16{32767} : Word16{-32768};
      case Signal::kTone:
        return tone(t);
      case Signal::kBursts:
        return static_cast<Word16>(t / 1500 % 3 == 0   ? noise(15)
                                   : t / 1500 % 3 == 1 ? noise(3)
                                                       : 0);
    }
    return 0;
  }

 private:
  // A parabola through each half wave: a sine to within 6 %.
  Word16 tone(std::size_t t) const {
    const int phase = static_cast<int>(t * static_cast<std::size_t>(step_) * 1311 % 65536) - 32768;
    return static_cast<Word16>((phase * (32768 - (phase < 0 ? -phase : phase))) / 16384);
  }

  Signal signal_;
  int step_;
  Random random_;
  std::size_t time_ = 0;
};

// The output of a stream: process(frame, in, out) reads and writes samples, and says how many it wrote.
template <class Process>
Samples inFrames(int frames, Process process) {
  Samples all;
  for (int frame = 0; frame < frames; ++frame) {
    alignas(4) Word16 in[480];
    alignas(4) Word16 out[480];
    const int written = process(frame, in, out);
    all.insert(all.end(), out, out + written);
  }
  return all;
}

}  // namespace arvessa::test
