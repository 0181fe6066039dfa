// SPDX-License-Identifier: Apache-2.0
#pragma once
// The library's front end as a frame processor: two microphones in, one channel out.

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "Arvessa.h"
#include "abi/work_buffer.h"
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

 protected:
  // One frame through the library; returns its status.
  virtual std::intptr_t callLibrary(const Word16* microphones, Word16* out, ArvessaConfig& config);
  const ArvessaState& state() const { return *reinterpret_cast<const ArvessaState*>(work_.data()); }

 private:
  alignas(ARVESSA_WORK_ALIGNMENT) std::array<std::byte, ARVESSA_WORK_BYTES> work_{};
  ArvessaConfig config_;
  bool swap_;
  std::array<std::int64_t, kBeams> framesOfBeam_{};
};

// The recording of both microphones at `path` at the front end's rate; `raw`: standard input is raw
// samples whatever it begins like.
std::unique_ptr<Source> openFrontEndSource(const std::string& path, bool raw);

}  // namespace arvessa::app
