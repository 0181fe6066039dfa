// SPDX-License-Identifier: Apache-2.0
#include "audio_io/source.h"

#include "audio_io/errors.h"

namespace arvessa::app {

std::vector<float> readMono(Source& source) {
  constexpr std::size_t kBlock = 8192;  // samples of all channels
  const auto channels = static_cast<std::size_t>(source.channels);
  std::vector<float> block(kBlock / channels * channels + channels);
  std::vector<float> mono;
  for (;;) {
    const std::size_t frames = source.read(block);
    for (std::size_t n = 0; n < frames; ++n) {
      float sum = 0;
      for (std::size_t c = 0; c < channels; ++c) sum += block[n * channels + c];
      mono.push_back(sum / static_cast<float>(channels));
    }
    if (frames * channels < block.size()) break;
  }
  if (mono.empty()) throw Failure(source.name, "holds no samples");
  return mono;
}

}  // namespace arvessa::app
