// SPDX-License-Identifier: Apache-2.0
#include "kernels/split_float.h"

namespace arvessa::kernels {

void SoftwareFloat::analyse(std::span<const Word16, kFloatBlock> samples,
                            std::span<const float, kWindow> window, HalfSpectrum& spectrum) {
  float block[kFloatBlock];
  windowed(samples, window, block);
  splitForward<true>(block, spectrum);
}

void SoftwareFloat::inverseTransform(const HalfSpectrum& spectrum, HalfSpectrum& samples) {
  splitInverse<true>(spectrum, samples);
}

}  // namespace arvessa::kernels
