// SPDX-License-Identifier: Apache-2.0
#pragma once
// Filters for streams.

#include <cstddef>
#include <span>
#include <vector>

namespace arvessa::app {

// y[n] = sum of taps[k] x[n - k] over a stream that begins with silence. The sum runs from the last
// tap to the first, whatever the blocks are, so that they do not show in the result.
class Fir {
 public:
  explicit Fir(std::vector<float> taps);
  std::size_t length() const { return reversed_.size(); }
  // The next samples of the stream; `y` has the length of `x`.
  void process(std::span<const float> x, std::span<float> y);

 private:
  std::vector<float> reversed_;  // taps, the last one first
  std::vector<float> line_;      // inputs: those of the past that are still needed, then the new
};

// Taps that delay by `delay` samples, any real number from kDelayReach on. Band-limited
// interpolation with a sinc under a Blackman window of 64 samples: the gain is within 0.01 dB of 1
// up to 0.44 of the sample rate.
inline constexpr int kDelayReach = 32;  // samples that the interpolation looks to either side
std::vector<float> delayTaps(double delay);

}  // namespace arvessa::app
