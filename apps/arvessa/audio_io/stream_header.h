// SPDX-License-Identifier: Apache-2.0
#pragma once
// Headers that are read without going back: those of WAV and AU with samples of a fixed size, which
// can be taken from a pipe as they come in.

#include <cstdint>
#include <optional>

#include "audio_io/input_device.h"

namespace arvessa::app {

struct StreamHeader {
  int rate = 0;
  int channels = 0;
  int format = 0;               // libsndfile's, of the samples without a header
  std::int64_t frameBytes = 0;  // one sample of every channel
  std::int64_t samplesAt = 0;
  std::int64_t size = InputDevice::kUnknownSize;  // of all samples, bytes
  bool unfinished = false;                        // the sizes are 0, as while it is written
};

// None if the input does not begin like that. The position in it is then unknown.
std::optional<StreamHeader> readStreamHeader(InputDevice& device);

}  // namespace arvessa::app
