// SPDX-License-Identifier: Apache-2.0
#pragma once
// Samples at another rate, by libsamplerate's band-limited interpolation. Sample n of the result
// lies at the time n / rate of the input: no delay.

#include <samplerate.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace arvessa::app {

class Resampler {
 public:
  static bool canConvert(int fromRate, int toRate);
  Resampler(int channels, int fromRate, int toRate);
  // Appends what `in` makes available to `out`, altogether ceil(frames in * toRate / fromRate)
  // frames.
  void process(std::span<const float> in, bool last, std::vector<float>& out);

 private:
  struct Delete {
    void operator()(SRC_STATE* state) const { src_delete(state); }
  };
  std::unique_ptr<SRC_STATE, Delete> state_;
  std::size_t channels_;
  std::int64_t fromRate_;
  std::int64_t toRate_;
  std::int64_t framesIn_ = 0;
  std::int64_t framesOut_ = 0;
  std::vector<float> converted_;
};

}  // namespace arvessa::app
