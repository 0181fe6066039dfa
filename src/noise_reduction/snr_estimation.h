// SPDX-License-Identifier: Apache-2.0
#pragma once
// A posteriori and a priori SNR per band, decision directed (Ephraim and Malah 1984) with a weight
// that adapts to the previous frame's Wiener gain.

#include <span>

#include "kernels/kernels.h"

namespace arvessa {

struct BandPowers {
  std::span<const Word32, kernels::kBands> frame;  // 0 or more
  std::span<const Word32, kernels::kBands> noise;  // 0 or more, 7 more fraction bits
};

template <class T>
struct BasicBandSnrs {
  std::span<T, kernels::kBands> posterior;  // gamma - 1 in Q8, -256..25600
  std::span<T, kernels::kBands> prior;      // xi in Q8, 0..25600
};
using BandSnrs = BasicBandSnrs<const Word16>;

// `speech`: smoothed clean-speech power of the previous frames, in the units of power.frame, by
// which it is replaced on the first frame.
void estimateSnr(const BandPowers& power, bool firstFrame,
                 std::span<Word32, kernels::kBands> speech, const BasicBandSnrs<Word16>& snr);

}  // namespace arvessa
