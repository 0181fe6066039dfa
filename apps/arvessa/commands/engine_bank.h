// SPDX-License-Identifier: Apache-2.0
#pragma once
// The engine as a frame processor, for any number of channels, each for itself.

#include <array>
#include <cstddef>
#include <vector>

#include "Vorn.h"
#include "audio_io/frame_stream.h"

namespace arvessa::app {

struct EngineSettings {
  bool noiseReduction = true;
  bool agc = true;
  int agcTable = 4;
};

class EngineBank : public FrameProcessor {
 public:
  EngineBank(const EngineSettings& settings, int rate, int channels);
  void process(std::span<const Word16> in, std::size_t filled, std::span<Word16> out) override;

  // The lowest rate of the engine that loses nothing of a signal at `rate`, or its highest.
  static int rateFor(int rate);
  // Samples by which the output lags at `rate`, one of the engine's.
  static int latencyAt(int rate);

 private:
  struct Channel {
    alignas(VORN_STATE_ALIGNMENT) std::array<std::byte, VORN_STATE_BYTES> state;
    VornConfig config;
  };
  std::vector<Channel> channels_;
};

}  // namespace arvessa::app
