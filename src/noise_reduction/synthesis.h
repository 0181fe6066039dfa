// SPDX-License-Identifier: Apache-2.0
#pragma once
// Back to samples: overlap-add and the output filter that undoes the pre-emphasis.

#include <span>

#include "ArvessaTypes.h"

namespace arvessa {

// Adds the last block's overlap to the first words of `time` and keeps the words after the frame as
// the new one; then de-emphasis y[n] = x[n] + 0.40327 y[n-1] with y[-1] in `memory`. The samples
// are twice the rounded upper halves of y, saturated: Q15. `time` has 2K words, `out` N, `overlap`
// 2K - N.
void synthesise(std::span<Word32> time, std::span<Word32> overlap, Word32& memory,
                std::span<Word16> out);

}  // namespace arvessa
