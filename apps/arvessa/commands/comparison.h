// SPDX-License-Identifier: Apache-2.0
#pragma once
// A recording and what became of it, side by side.

#include <string>
#include <vector>

#include "audio_io/sink.h"

namespace arvessa::app {

// A sink for the enhanced recording. Keeps everything until it is written, 8 bytes a sample.
class Comparison : public Sink {
 public:
  // The next samples of the microphone.
  void addMicrophone(std::span<const Word16> samples);
  void write(std::span<const Word16> samples) override;
  void finish() override {}

  // A file of two channels at 8 kHz, left the microphone, right enhanced. With `matched` the louder
  // of the two is scaled down until both have the level of speech of the quieter.
  void save(const std::string& path, bool matched, int format = 0) const;

 private:
  std::vector<float> microphone_;
  std::vector<float> enhanced_;
};

}  // namespace arvessa::app
