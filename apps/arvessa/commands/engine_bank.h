// SPDX-License-Identifier: Apache-2.0
#pragma once
// The engine as a frame processor, for any number of channels, each for itself.

#include <vector>

#include "audio_io/frame_stream.h"
#include "front_end/engine.h"

namespace arvessa::app {

class EngineBank : public FrameProcessor {
 public:
  // `rate` is one of the engine's.
  EngineBank(const EngineSettings& settings, int rate, int channels)
      : EngineBank(Engine(settings, rate), rate, channels) {}
  void process(std::span<const Word16> in, std::size_t filled, std::span<Word16> out) override;

 private:
  EngineBank(const Engine& engine, int rate, int channels)
      : FrameProcessor(channels, channels, rate / 100, engine.latency()),
        engines_(static_cast<std::size_t>(channels), engine) {}

  std::vector<Engine> engines_;
};

}  // namespace arvessa::app
