// SPDX-License-Identifier: Apache-2.0
#pragma once
// The front end and the engine as stages of Chunks, with their decisions as rows.

#include <array>
#include <cmath>
#include <cstdint>
#include <limits>

#include "chunks.h"
#include "front_end/engine.h"
#include "front_end/front_end.h"

namespace arvessa::python {

using Directions = std::array<double, kBeams>;  // of the beams, degrees

struct WholeFrontEnd {
  static constexpr std::size_t kChannels = 2;
  static constexpr std::size_t kMostSamples = ARVESSA_FRAME_SAMPLES;

  app::FrontEnd stage;
  Directions directions;

  static std::size_t frame() { return kMostSamples; }
  double direction(int beam) const { return directions.at(static_cast<std::size_t>(beam)); }
  app::Decision process(std::span<const Word16> in, std::span<Word16> out) {
    return stage.process(in.first<kChannels * kMostSamples>(), out.first<kMostSamples>());
  }
};

struct SingleEngine {
  static constexpr std::size_t kChannels = 1;
  static constexpr std::size_t kMostSamples = app::kEngineRates.back() / 100;

  app::Engine stage;
  int rate;

  std::size_t frame() const { return static_cast<std::size_t>(rate) / 100; }
  static double direction(int /*beam*/) { return std::numeric_limits<double>::quiet_NaN(); }
  app::Decision process(std::span<const Word16> in, std::span<Word16> out) {
    return stage.process(in.first(frame()), out);
  }
};

// Time in s, level in and level out in dBFS, beam, its direction in degrees, voice, the AGC's index
// and gain in dB, the floor and the mean gain of the suppression in dB. The level out is that of
// the samples that came in with the frame: a row waits until they are out.
inline constexpr std::size_t kColumns = 10;

std::int64_t energyOf(std::span<const Word16> samples);
// Adds a row to `rows`. The energies are those of `samples` in each of `channels`, and of as many
// out.
void writeRow(std::int64_t frame, std::int64_t energyIn, std::size_t channels,
              std::int64_t energyOut, std::size_t samples, const app::Decision& decision,
              double direction, double*& rows);

template <class Unit>
class Traced {
 public:
  static constexpr std::size_t kChannels = Unit::kChannels;
  static constexpr std::size_t kMostSamples = Unit::kMostSamples;

  explicit Traced(const Unit& unit) : unit_(unit) {}
  std::size_t frame() const { return unit_.frame(); }
  int latency() const { return unit_.stage.latency(); }

  void process(std::span<const Word16> in, std::size_t filled, Output& out) {
    const std::span frameOut(out.samples, frame());
    const app::Decision decision = unit_.process(in, frameOut);
    if (filled_ > 0) addRow(frameOut, out.rows);
    filled_ = filled;
    if (filled == 0) return;
    energyIn_ = 0;
    for (std::size_t c = 0; c < kChannels; ++c) {
      energyIn_ += energyOf(in.subspan(c * frame(), filled));
    }
    decision_ = decision;
    std::ranges::copy(frameOut, last_.begin());
  }

  void finish(Output& out) {
    if (filled_ > 0) addRow({}, out.rows);
  }

 private:
  // The row of the last frame. The first `latency` samples of `next` follow that frame's output.
  void addRow(std::span<const Word16> next, double*& rows) {
    const auto begin = static_cast<std::size_t>(latency());
    const std::size_t here = std::min(filled_, frame() - begin);
    const std::int64_t energyOut =
        energyOf(std::span(last_).subspan(begin, here)) + energyOf(next.first(filled_ - here));
    writeRow(frames_++, energyIn_, kChannels, energyOut, filled_, decision_,
             unit_.direction(decision_.beam), rows);
  }

  Unit unit_;
  std::int64_t frames_ = 0;
  // Of the last frame, if it has samples of the stream.
  std::size_t filled_ = 0;
  std::int64_t energyIn_ = 0;
  app::Decision decision_{};
  std::array<Word16, kMostSamples> last_{};
};

}  // namespace arvessa::python
