// SPDX-License-Identifier: Apache-2.0
#include "noise_reduction/suppression_floor.h"

#include <algorithm>

#include "arithmetic/operators.h"

namespace arvessa {

namespace {

// The saturating sum, which goes on from half of the largest word each time that it reaches that,
// and counts 2: the target is beyond all floors then. So the largest word stands for all such sums.
Word32 foldedSum(std::span<const Word32, kernels::kBands> noise, Word32& extra) {
  std::uint64_t total = 0;
  Word32 signs = 0;
  for (const Word32 power : noise) total += static_cast<std::uint32_t>(power);
  if (total < kMax32) return static_cast<Word32>(total);
  for (const Word32 power : noise) signs |= power;
  if (signs >= 0) return kMax32;
  Word32 sum = 0;
  for (const Word32 power : noise) {
    sum = lAdd(sum, power);
    if (sum == kMax32) {
      sum = 0x3FFFFFFF;
      extra += 2;
    }
  }
  return sum;
}

}  // namespace

void moveFloor(std::span<const Word32, kernels::kBands> noise, Word16& depth) {
  Word32 extra = 0;
  const Word32 sum = foldedSum(noise, extra);
  const Word16 target = sum <= 499999 ? Word16{7} : low16(extra + 7 + (sum - 500000) / 150000);
  int moved = depth;
  if (target > moved) {
    ++moved;
  } else if (target + 3 < moved) {
    --moved;
  }
  depth = static_cast<Word16>(std::clamp(moved, 4, 15));
}

}  // namespace arvessa
