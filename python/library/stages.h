// SPDX-License-Identifier: Apache-2.0
#pragma once
// The front end with its decisions as rows, and the engine, as stages of Chunks.

#include <array>
#include <cstdint>

#include "chunks.h"
#include "front_end/engine.h"
#include "front_end/front_end.h"

namespace arvessa::python {

using Directions = std::array<double, kBeams>;  // of the beams, degrees

class TracedFrontEnd {
 public:
  static constexpr std::size_t kChannels = 2;
  static constexpr std::size_t kMostSamples = ARVESSA_FRAME_SAMPLES;
  // Time in s, level in and level out in dBFS, beam, its direction in degrees, voice, the AGC's
  // index and gain in dB, the floor and the mean gain of the suppression in dB. The level out is
  // that of the samples that came in with the frame: a row waits until they are out.
  static constexpr std::size_t kColumns = 10;

  TracedFrontEnd(const app::FrontEndSettings& settings, const Directions& directions)
      : frontEnd_(settings), directions_(directions) {}
  static std::size_t frame() { return kMostSamples; }
  int latency() const { return frontEnd_.latency(); }
  void process(std::span<const Word16> in, std::size_t filled, Output& out);
  void finish(Output& out);

 private:
  // The row of the last frame. The first `latency` samples of `next` follow that frame's output.
  void writeRow(std::span<const Word16> next, double*& rows);

  app::FrontEnd frontEnd_;
  Directions directions_;
  std::int64_t frames_ = 0;
  // Of the last frame, if it has samples of the stream.
  std::size_t filled_ = 0;
  double levelIn_ = 0;
  app::Decision decision_{};
  std::array<Word16, kMostSamples> last_{};
};

class SingleEngine {
 public:
  static constexpr std::size_t kChannels = 1;
  static constexpr std::size_t kMostSamples = app::kEngineRates.back() / 100;

  SingleEngine(const app::EngineSettings& settings, int rate)
      : engine_(settings, rate), frame_(static_cast<std::size_t>(rate) / 100) {}
  std::size_t frame() const { return frame_; }
  int latency() const { return engine_.latency(); }
  void process(std::span<const Word16> in, std::size_t /*filled*/, Output& out) {
    engine_.process(in.first(frame_), {out.samples, frame_});
  }
  void finish(Output& /*out*/) {}

 private:
  app::Engine engine_;
  std::size_t frame_;
};

}  // namespace arvessa::python
