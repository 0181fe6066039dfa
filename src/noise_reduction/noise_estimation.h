// SPDX-License-Identifier: Apache-2.0
#pragma once
// Noise power per bin by minima-controlled recursive averaging (Cohen 2002) with hard decisions,
// and the frame's voice activity.

#include <cstdint>
#include <span>

#include "kernels/kernels.h"

namespace arvessa {

struct NoiseMemory {
  kernels::BinNoise bins;       // K
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
bool isVoice(Word32 smoothTotal, Word32 minimumTotal);

}  // namespace arvessa
