// SPDX-License-Identifier: Apache-2.0
#pragma once
// The front end as a value, its work buffer included and free of pointers, with what only a program that is built with
// the library can ask of it: other beams, a beam that is held, suppression without AGC, and every
// decision. No heap, no exceptions.

#include <array>
#include <cstddef>
#include <optional>
#include <span>

#include "Arvessa.h"
#include "abi/work_buffer.h"
#include "front_end/decision.h"

namespace arvessa::app {

struct FrontEndSettings {
  bool engine = true;             // false: the beamformer alone
  bool noiseReduction = true;     // of the engine
  bool agc = true;                // of the engine
  bool swap = false;              // the second channel is microphone 1
  std::optional<int> heldBeam{};  // 0..2: this beam from the first sample to the last
  BeamWeights beams = storedBeams();
};

class FrontEnd {
 public:
  explicit FrontEnd(const FrontEndSettings& settings);

  // From the next frame on.
  void change(const FrontEndSettings& settings);
  // One frame of 10 ms at 8 kHz: 80 samples of channel 1, then 80 of channel 2. Both are 4-byte
  // aligned.
  Decision process(std::span<const Word16, 2 * ARVESSA_FRAME_SAMPLES> microphones,
                   std::span<Word16, ARVESSA_FRAME_SAMPLES> out);
  // Samples by which the output lags the input.
  int latency() const;

 private:
  static constexpr std::size_t kWeights = std::size_t{kBeams} * kBeamBlock;

  ArvessaConfig config();
  VornConfig& engineConfig();

  alignas(VornConfig) std::array<std::byte, ARVESSA_WORK_BYTES> work_{};
  FrontEndSettings settings_;
  std::array<float, kWeights> re_;
  std::array<float, kWeights> im_;
  double meanGain_ = 1;  // of the suppression in the last frame
};

}  // namespace arvessa::app
