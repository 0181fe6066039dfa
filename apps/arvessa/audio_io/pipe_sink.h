// SPDX-License-Identifier: Apache-2.0
#pragma once
// 16-bit little-endian interleaved samples on standard output, frame by frame: raw, or as WAV with
// the sizes that stand for unknown ones.

#include <cstddef>
#include <span>
#include <vector>

#include "audio_io/sink.h"

namespace arvessa::app {

// Throws a Failure if standard output is a terminal.
void checkIsNoTerminal();

class PipeSink : public Sink {
 public:
  PipeSink(int rate, int channels, bool asWav);
  void write(std::span<const Word16> interleaved) override;
  // Also where there are no samples, the header is written.
  void finish() override { write({}); }

 private:
  std::vector<std::byte> bytes_;  // to be written next; the header at first
};

}  // namespace arvessa::app
