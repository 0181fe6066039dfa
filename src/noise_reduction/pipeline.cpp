// SPDX-License-Identifier: Apache-2.0
#include "noise_reduction/pipeline.h"

namespace arvessa {

template bool reduceNoise(const Rate&, bool, std::span<const Word16>, NoiseReductionState&,
                          std::span<Word16>, NoObserver&);

}  // namespace arvessa
