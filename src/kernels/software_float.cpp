// SPDX-License-Identifier: Apache-2.0
#include "kernels/split_float.h"

namespace arvessa::kernels {

void SoftwareFloat::forwardTransform(std::span<const float, kFloatBlock> block,
                                     HalfSpectrum& spectrum) {
  splitForward<true>(block, spectrum);
}

void SoftwareFloat::inverseTransform(const HalfSpectrum& spectrum,
                                     std::span<float, kFloatBlock> block) {
  splitInverse<true>(spectrum, block);
}

}  // namespace arvessa::kernels
