// SPDX-License-Identifier: Apache-2.0
#include "noise_reduction/band_split.h"

#include <algorithm>

#include "arithmetic/operators.h"

namespace arvessa {

void splitBands(std::span<const Word16> in, const FilterMemory& lowMemory,
                const FilterMemory& highMemory, std::span<Word16> low, std::span<Word16> high) {
  Kernels::lowPassAndDecimate(in, lowMemory, low);
  Kernels::highPass(in, highMemory, high);
}

void joinBands(std::span<const Word16> low, const FilterMemory& memory,
               std::span<const Word16> high, std::span<Word16> out) {
  Kernels::interpolateAndAdd(low, memory, high, out);
}

void delayUpperBand(std::span<Word16, kUpperBandDelay> delay, std::span<const Word16> highBand,
                    Word16 gain) {
  std::copy(delay.end() - kUpperBandHistory, delay.end(), delay.begin());
  Kernels::amplify(highBand, gain, delay.subspan(kUpperBandHistory, highBand.size()));
}

Word16 meanOf128(std::span<const Word16> gains) {
  // None is beyond 2^8, so that 16 bits hold the sum.
  std::uint16_t mean = 0;
  for (const Word16 gain : gains.first<128>())
    mean = static_cast<std::uint16_t>(mean + (gain >> 7));
  return static_cast<Word16>(mean);
}

}  // namespace arvessa
