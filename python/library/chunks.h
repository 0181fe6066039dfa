// SPDX-License-Identifier: Apache-2.0
#pragma once
// A stream in chunks of any length, through a stage that takes whole frames.

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>

#include "ArvessaTypes.h"

namespace arvessa::python {

// Where the next output goes.
struct Output {
  Word16* samples;  // 4-byte aligned
  double* rows;     // of decisions
};

// Holds no pointers: a copy of its bytes is a copy of the stream.
//
// A Stage has
//   kChannels, kMostSamples: its channels, and the samples of its longest frame
//   frame(), latency(): samples of a frame, and by how many its output lags its input
//   process(in, filled, out): one frame to out.samples, which stays where it is, and the rows that
//     it completes. `in` is planar and 4-byte aligned; the stream has `filled` samples of every
//     channel in it, zeros follow.
//   finish(out): the rows that are left when all samples are out
template <class Stage>
class Chunks {
 public:
  explicit Chunks(const Stage& stage) : stage_(stage) {}

  int latency() const { return stage_.latency(); }

  // Takes `samples` of every channel, interleaved, and gives the frames that they complete: at most
  // a frame more than came in.
  void process(const Word16* in, std::size_t samples, Output& out) {
    const std::size_t frame = stage_.frame();
    begun_ = begun_ || samples > 0;
    for (; samples > 0; --samples) {
      for (std::size_t c = 0; c < Stage::kChannels; ++c) planar_[c * frame + filled_] = *in++;
      if (++filled_ < frame) continue;
      stage_.process(planar_, frame, out);
      out.samples += frame;
      filled_ = 0;
    }
  }

  // Gives what is left: in all, as many samples as came in and `latency` more. Ends the stream.
  void flush(Output& out) {
    if (!begun_) return;
    const std::size_t frame = stage_.frame();
    std::size_t left = filled_ + static_cast<std::size_t>(latency());
    while (left > 0) {
      for (std::size_t c = 0; c < Stage::kChannels; ++c) {
        std::fill_n(planar_.begin() + c * frame + filled_, frame - filled_, Word16{0});
      }
      alignas(4) std::array<Word16, Stage::kMostSamples> last;
      Output ofFrame = {last.data(), out.rows};
      stage_.process(planar_, filled_, ofFrame);
      const std::size_t wanted = std::min(frame, left);
      out = {std::copy_n(last.begin(), wanted, out.samples), ofFrame.rows};
      left -= wanted;
      filled_ = 0;
    }
    stage_.finish(out);
  }

 private:
  Stage stage_;
  alignas(4) std::array<Word16, Stage::kChannels * Stage::kMostSamples> planar_{};
  std::size_t filled_ = 0;
  bool begun_ = false;
};

}  // namespace arvessa::python
