// SPDX-License-Identifier: Apache-2.0
#include "noise_reduction/synthesis.h"

#include "kernels/kernels.h"

namespace arvessa {

void synthesise(const Block& time, std::span<Word32> overlap, Word32& memory,
                std::span<Word16> out) {
  const std::span<Word32> block = time.words.first(out.size());
  Kernels::deemphasise({block, Kernels::addOverlap(time, overlap, block)}, memory, out);
}

}  // namespace arvessa
