// SPDX-License-Identifier: Apache-2.0
#pragma once
// Back to samples: overlap-add and the output filter that undoes the pre-emphasis.

#include <span>

#include "arithmetic/block.h"

namespace arvessa {

// Takes the exponent out of `time`, adds the last block's overlap to its first words and keeps the
// words after the frame as the new one; `time` is used up. Then de-emphasis y[n] = x[n] + 0.40327 y[n-1] with y[-1] in `memory`. The samples
// are twice the rounded upper halves of y, saturated: Q15. `time` has 2K words, `out` N, `overlap`
// 2K - N.
void synthesise(const Block& time, std::span<Word32> overlap, Word32& memory,
                std::span<Word16> out);

}  // namespace arvessa
