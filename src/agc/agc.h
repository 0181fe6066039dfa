// SPDX-License-Identifier: Apache-2.0
#pragma once
// Automatic gain control: the frame's peak power in short subframes, a fast and a slow envelope, a
// table of gains by headroom, and a gain that ramps across the frame.

#include <cstdint>
#include <span>

#include "ArvessaTypes.h"

namespace arvessa {

inline constexpr int kGains = 32;
inline constexpr int kMaxSubframes = 30;

// Whether a frame divides into 8 blocks of 10 samples, or 16 of up to 30: what controlGain takes.
constexpr bool isAgcFrame(int samples) {
  return samples == 80 || (samples >= 160 && samples <= 16 * kMaxSubframes && samples % 16 == 0);
}

struct AgcState {
  Word32 agcEnvFast;         // peak-hold envelope of the subframe power
  Word32 agcEnvSlow;         // slow envelope of the subframe power
  Word16 agcGainIdx;         // index of the gain in force
  Word16 vadFlag;            // 1 while the frame carries voice: what the noise reduction has found
  std::uint16_t agcUpCount;  // voice frames that asked for more gain
};

void initialise(AgcState& state);

// One frame of Q15 (isAgcFrame). `table`: 32 gains in Q16 by headroom in bits of
// power. `y` may be `x`.
void controlGain(AgcState& state, std::span<const Word32, kGains> table, std::span<const Word16> x,
                 std::span<Word16> y);

// Leading zero bits of v read as unsigned; 0 for 0.
Word16 leadingZeros(Word32 v);

}  // namespace arvessa
