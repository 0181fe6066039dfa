// SPDX-License-Identifier: Apache-2.0
#pragma once
// Noisy speech for the benchmarks: the recording in the repository with noise added, at any rate of
// the library. Integer arithmetic only, so that every processor measures the same samples.

#include <cstddef>
#include <vector>

#include "ArvessaTypes.h"

namespace arvessa::bench {

// Whole frames of noisy speech, repeated without end.
class FrameStream {
 public:
  FrameStream(std::vector<Word16> samples, int frameLength);

  // frameLength samples of Q15, 4-byte aligned.
  [[nodiscard]] const Word16* frame(int index) const {
    return &samples_[static_cast<std::size_t>(index % frames_) * frameLength_];
  }

 private:
  std::vector<Word16> samples_;
  std::size_t frameLength_;
  int frames_;
};

// One channel at 8, 16, 32 or 48 kHz by rate code.
FrameStream noisySpeech(int rateCode);

// Frames of both microphones at 8 kHz, 80 and 80 samples: the voice reaches the second one a sample
// later, the noise of the two is independent.
FrameStream noisySpeechOfTwo();

}  // namespace arvessa::bench
