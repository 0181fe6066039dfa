// SPDX-License-Identifier: Apache-2.0
#pragma once
// Raw 16-bit little-endian interleaved samples on standard input and output.

#include <vector>

#include "audio_io/sink.h"
#include "audio_io/source.h"

namespace arvessa::app {

class RawSource : public Source {
 public:
  RawSource(int sampleRate, int channelCount);
  // Waits for exactly the samples asked for, so that a frame can be answered as soon as it is
  // there.
  std::size_t read(std::span<float> to) override;
  std::int64_t framesRead() const override { return frames_; }
  std::string complaint() const override;

 private:
  std::vector<std::byte> bytes_;
  std::int64_t frames_ = 0;
  std::size_t strayBytes_ = 0;  // after the last whole frame
};

// Writes at once, without a buffer of its own.
class RawSink : public Sink {
 public:
  RawSink();
  void write(std::span<const Word16> interleaved) override;
  void finish() override {}

 private:
  std::vector<std::byte> bytes_;
};

}  // namespace arvessa::app
