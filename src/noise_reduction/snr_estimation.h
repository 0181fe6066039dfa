// SPDX-License-Identifier: Apache-2.0
#pragma once
// A posteriori and a priori SNR per band, decision directed (Ephraim and Malah 1984) with a weight
// that adapts to the previous frame's Wiener gain.

#include <span>

#include "kernels/kernels.h"

namespace arvessa {

using kernels::BandPowers;
using kernels::BandSnrs;
using kernels::BasicBandSnrs;

// `speech`: smoothed clean-speech power of the previous frames, in the units of power.frame, by
// which it is replaced on the first frame.
void estimateSnr(const BandPowers& power, bool firstFrame,
                 std::span<Word32, kernels::kBands> speech, const BasicBandSnrs<Word16>& snr);

}  // namespace arvessa
