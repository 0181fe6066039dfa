// SPDX-License-Identifier: Apache-2.0
#include "kernels/split_float.h"

namespace arvessa::kernels {

void SplitFloat::forwardTransform(std::span<const float, kFloatBlock> block,
                                  HalfSpectrum& spectrum) {
  splitForward<false>(block, spectrum);
}

void SplitFloat::inverseTransform(const HalfSpectrum& spectrum,
                                  std::span<float, kFloatBlock> block) {
  splitInverse<false>(spectrum, block);
}

}  // namespace arvessa::kernels
