// SPDX-License-Identifier: Apache-2.0
#pragma once
// Samples at another rate, by libsoxr's linear-phase filters at 20 bits.
//
// Sample n of the result lies at the time n / rate of the input: the delay is 0. Up to 0.9 of the
// lower of the two Nyquist frequencies the gain is 1 within 0.01 dB, at 0.95 it is -6 dB, and what
// lies above that Nyquist frequency comes through below -120 dB. The filters work in blocks, so that
// a live stream waits for the future: 75 ms from 48 to 8 kHz, 82 ms from 44.1 to 8 kHz, 117 ms from
// 16 to 8 kHz, 21 ms from 44.1 to 48 kHz and 19 ms back.
//
// libsoxr chooses its code by the processor, so that the last bit of a result may depend on it:
// the promise of the same samples everywhere begins after the conversion.

#include <soxr.h>

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
  // Without `in` the last frames are taken out. Returns how many came.
  std::size_t convert(const float* in, std::size_t frames, std::vector<float>& out);

  struct Delete {
    void operator()(soxr* converter) const { soxr_delete(converter); }
  };
  std::unique_ptr<soxr, Delete> converter_;
  std::size_t channels_;
  std::int64_t fromRate_;
  std::int64_t toRate_;
  std::int64_t framesIn_ = 0;
  std::int64_t framesOut_ = 0;
  std::vector<float> converted_;  // of one step
};

}  // namespace arvessa::app
