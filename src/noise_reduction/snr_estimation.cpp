// SPDX-License-Identifier: Apache-2.0
#include "noise_reduction/snr_estimation.h"

#include <algorithm>

namespace arvessa {

void estimateSnr(const BandPowers& power, bool firstFrame,
                 std::span<Word32, kernels::kBands> speech, const BasicBandSnrs<Word16>& snr) {
  if (firstFrame) std::copy(power.frame.begin(), power.frame.end(), speech.begin());
  Kernels::estimateSnr(power, speech, snr);
}

}  // namespace arvessa
