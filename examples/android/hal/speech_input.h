// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Arvessa.h>

#include <cstdint>

// The speech front end in an input stream of an audio HAL: one object per stream, one call per 10 ms
// in the capture thread.
class SpeechInput {
 public:
  bool start() { return Arvessa_Init(&config_) == 0; }

  // 80 pairs of samples at 8 kHz in, 80 samples out.
  bool process(const std::int16_t* interleaved, std::int16_t* out) {
    alignas(4) std::int16_t mics[2 * ARVESSA_FRAME_SAMPLES];
    for (int i = 0; i < ARVESSA_FRAME_SAMPLES; ++i) {
      mics[i] = interleaved[2 * i];
      mics[ARVESSA_FRAME_SAMPLES + i] = interleaved[2 * i + 1];
    }
    return Arvessa(mics, out, &config_) == 0;  // out: aligned to 4 bytes
  }

  SpeechInput() = default;
  SpeechInput(const SpeechInput&) = delete;  // the work buffer must stay where it is

 private:
  alignas(4) unsigned char work_[ARVESSA_WORK_BYTES];
  ArvessaConfig config_ = {work_, sizeof work_, 0, 1, 1};
};
