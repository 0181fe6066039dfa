// SPDX-License-Identifier: Apache-2.0
#include "noise_reduction/suppression_floor.h"

#include <algorithm>

#include "arithmetic/operators.h"

namespace arvessa {

void moveFloor(std::span<const Word32, kernels::kBands> noise, Word16& depth) {
  Word32 sum = 0;
  Word32 extra = 0;
  for (const Word32 power : noise) {
    sum = lAdd(sum, power);
    if (sum == kMax32) {
      sum = 0x3FFFFFFF;
      extra += 2;
    }
  }
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
