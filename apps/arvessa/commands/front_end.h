// SPDX-License-Identifier: Apache-2.0
#pragma once
// The library's front end as a frame processor: two microphones in, one channel out.

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "Arvessa.h"
#include "audio_io/frame_stream.h"

namespace arvessa::app {

struct FrontEndSettings {
  bool engine = true;          // false: the beamformer alone
  bool noiseReduction = true;  // false: of the engine the AGC alone
  bool swap = false;           // channel 1 is microphone 2
};

class FrontEnd : public FrameProcessor {
 public:
  explicit FrontEnd(const FrontEndSettings& settings);
  void process(std::span<const Word16> in, std::size_t filled, std::span<Word16> out) override;
  std::string beamShares() const;  // how often each beam was in use so far, for people

  // All that the library remembers of the stream: an ArvessaState.
  std::span<std::byte, ARVESSA_WORK_BYTES> work() { return work_; }

 private:
  alignas(ARVESSA_WORK_ALIGNMENT) std::array<std::byte, ARVESSA_WORK_BYTES> work_{};
  ArvessaConfig config_;
  bool swap_;
  std::array<std::int64_t, 3> framesOfBeam_{};
};

// The recording of both microphones at `path` ("-" for raw samples), at the front end's rate.
std::unique_ptr<Source> openFrontEndSource(const std::string& path);

}  // namespace arvessa::app
