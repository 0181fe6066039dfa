// SPDX-License-Identifier: Apache-2.0
#pragma once
// Two bands at 48 kHz: the low one, decimated by 3 to 16 kHz, for the spectral chain, and the upper
// one. Recursive filters of order 10 (elliptic; crossover at 0.15 of the rate).

#include <span>

#include "noise_reduction/geometry.h"

namespace arvessa {

using kernels::FilterMemory;

struct BandSplitMemory {
  FilterMemory splitLow;
  FilterMemory splitHigh;
  FilterMemory joinLow;
};

// 3 L samples to L of the low band, the first of every three low-pass outputs, and 3 L of the high
// band, all Q15. L is at most 160. No overlap.
void splitBands(std::span<const Word16> in, const FilterMemory& lowMemory,
                const FilterMemory& highMemory, std::span<Word16> low, std::span<Word16> high);

// The inverse: L samples of `low` as every third of 3 L, interpolated by the low-pass with a gain
// of 3, plus `high`, saturated. `out` may begin where `low` does.
void joinBands(std::span<const Word16> low, const FilterMemory& memory,
               std::span<const Word16> high, std::span<Word16> out);

// 144 samples of the last frame move to the front; this frame follows them, scaled by `gain`, Q15.
void delayUpperBand(std::span<Word16, kUpperBandDelay> delay, std::span<const Word16> highBand,
                    Word16 gain);

// The mean of 128 gains in Q15. Each is shifted before it is added, so that the sum fits, and loses
// its last 7 bits.
Word16 meanOf128(std::span<const Word16> gains);

}  // namespace arvessa
