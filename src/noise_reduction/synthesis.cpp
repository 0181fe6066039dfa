// SPDX-License-Identifier: Apache-2.0
#include "noise_reduction/synthesis.h"

#include <algorithm>

#include "arithmetic/operators.h"
#include "kernels/kernels.h"

namespace arvessa {

void synthesise(std::span<Word32> time, std::span<Word32> overlap, Word32& memory,
                std::span<Word16> out) {
  for (std::size_t i = 0; i < overlap.size(); ++i) time[i] = lAdd(time[i], overlap[i]);
  const std::span<const Word32> next = time.subspan(out.size(), overlap.size());
  std::copy(next.begin(), next.end(), overlap.begin());
  const std::span<const Word32> block = time.first(out.size());
  Kernels::deemphasise({block, usedBits(block)}, memory, out);
}

}  // namespace arvessa
