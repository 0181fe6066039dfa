// SPDX-License-Identifier: Apache-2.0
#pragma once
// The library as frame processors: the two-microphone front end, and the engine for any number of
// channels. Each owns the memory of its streams.

#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "Vorn.h"
#include "frame_stream.h"
#include "interface/work_buffer.h"

namespace arvessa::app {

struct FrontEndSettings {
  bool engine = true;       // false: the beamformer alone
  bool suppression = true;  // false: the engine only levels
  bool swap = false;        // channel 1 is microphone 2
};

class FrontEnd : public FrameProcessor {
 public:
  explicit FrontEnd(const FrontEndSettings& settings);
  void process(std::span<const Word16> in, std::size_t filled, std::span<Word16> out) override;
  const ArvessaState& state() const;
  std::string beamShares() const;  // how often each beam was in use so far, for people

 protected:
  // Called before the library is given a frame, `microphones` being its input.
  virtual void beforeFrame(const Word16* /*microphones*/) {}
  std::span<const std::byte> work() const { return work_; }

 private:
  alignas(ArvessaState) std::array<std::byte, ARVESSA_WORK_BYTES> work_{};
  ArvessaConfig config_;
  bool swap_;
  std::array<std::int64_t, kBeams> framesOfBeam_{};
};

// The recording of both microphones at `path` ("-" for raw samples), at the front end's rate.
std::unique_ptr<Source> openFrontEndSource(const std::string& path);

struct EngineSettings {
  bool suppression = true;
  bool levelling = true;
  int gainTable = 4;
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
    alignas(WvqeState) std::array<std::byte, VORN_STATE_BYTES> state;
    VornConfig config;
  };
  std::vector<Channel> channels_;
};

}  // namespace arvessa::app
