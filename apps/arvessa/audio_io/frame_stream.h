// SPDX-License-Identifier: Apache-2.0
#pragma once
// A stream cut into frames, processed, and put together again with or without the processing delay.

#include <functional>

#include "audio_io/level.h"
#include "audio_io/sink.h"
#include "audio_io/source.h"

namespace arvessa::app {

// Turns one frame into another of the same length. Both are planar: all samples of one channel
// after all of the other, 4-byte aligned. The stream has `filled` samples of every channel in this
// frame; zeros follow.
class FrameProcessor {
 public:
  FrameProcessor(int inputs, int outputs, int frameSamples, int lag)
      : channelsIn(inputs), channelsOut(outputs), frame(frameSamples), latency(lag) {}
  FrameProcessor(const FrameProcessor&) = delete;
  FrameProcessor& operator=(const FrameProcessor&) = delete;
  virtual ~FrameProcessor() = default;
  virtual void process(std::span<const Word16> in, std::size_t filled, std::span<Word16> out) = 0;

  const int channelsIn;
  const int channelsOut;
  const int frame;    // samples per channel
  const int latency;  // samples by which the output lags the input
};

struct StreamResult {
  std::int64_t frames = 0;   // samples per channel of the input
  std::int64_t clipped = 0;  // input samples beyond full scale
  LevelMeter in;             // over all channels
  LevelMeter out;
};

// Runs `source` through `processor` into `sink`, each frame as soon as its samples are there; the
// last one is padded with zeros. Without `keepDelay` the first `latency` samples of the output are
// left out and the output is as long as the input, each sample at the place of the one that it came
// from. With it, the output begins with the delay and is longer by it. `sink` is not finished.
// When the program is asked to stop, a live source ends; work on any other is given up: Stopped is
// thrown. `advance` is told of every step, as a share of the whole, if the length of `source` is known.
StreamResult runStream(Source& source, FrameProcessor& processor, Sink& sink, bool keepDelay,
                       const std::function<void(double)>& advance);

}  // namespace arvessa::app
