#pragma once
// Streams at another sample rate, by libsamplerate's band-limited interpolation. Sample n of the
// result lies at the time n / rate of the input: no delay.

#include <samplerate.h>

#include <memory>
#include <vector>

#include "stream.h"

namespace arvessa::tools {

class Resampler {
 public:
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

// `inner` at `rate`; `inner` itself if it has that rate.
std::unique_ptr<Source> resampled(std::unique_ptr<Source> inner, int rate);

// A sink for samples at `rate` that hands them to `inner` at `innerRate`, but no more than
// `longest` was long, if given; `inner` itself if the two rates are the same.
std::unique_ptr<Sink> resampled(std::unique_ptr<Sink> inner, int innerRate, int rate, int channels,
                                const Source* longest);

}  // namespace arvessa::tools
