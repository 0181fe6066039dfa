// SPDX-License-Identifier: Apache-2.0
#pragma once
// Noise power per bin by minima-controlled recursive averaging (Cohen 2002) with hard decisions,
// and the frame's voice activity.

#include <cstdint>
#include <span>

#include "kernels/kernels.h"

namespace arvessa {

// All of K words: powers, the noise with 7 more fraction bits.
struct NoiseMemory {
  std::span<Word32> windowMinimum;  // of the smoothed power in the current search window
  std::span<Word32> minimum;        // over this window and the previous one
  std::span<Word32> smooth;         // power smoothed over time and frequency
  std::span<Word32> noise;
  std::uint32_t& windowFrames;  // since the search window restarted
};

struct NoiseEstimate {
  bool voice;        // the frame carries voice
  ConstBlock noise;  // memory.noise with its bits
};

// Updates the memory by a frame of K powers, K at least 4, and writes 1 for
// speech or 0 for noise to `active`. `frame`: its number since initialisation, 1..32767, already
// counted.
NoiseEstimate estimateNoise(ConstBlock power, std::uint16_t frame, const NoiseMemory& memory,
                            std::span<unsigned char> active);

// Whether the total of the smoothed power exceeds 16.4 times that of the minima.
bool isVoice(ConstBlock smooth, ConstBlock minimum);

}  // namespace arvessa
