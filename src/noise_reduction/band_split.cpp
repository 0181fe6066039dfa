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
  for (std::size_t n = 0; n < highBand.size(); ++n) {
    delay[kUpperBandHistory + n] = mult(highBand[n], gain);
  }
}

Word16 meanOf128(std::span<const Word16> gains) {
  Word16 mean = 0;
  for (const Word16 gain : gains.first(128)) mean = add(mean, shr(gain, 7));
  return mean;
}

}  // namespace arvessa
