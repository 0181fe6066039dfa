// SPDX-License-Identifier: Apache-2.0
#include "noise_reduction/state.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace arvessa {

void initialise(NoiseReductionState& state) {
  std::memset(&state, 0, sizeof state);  // bytes between the fields, too
  std::fill(std::begin(state.noisePsd), std::end(state.noisePsd), 128);  // one power unit
  std::fill(std::begin(state.bandSnrState), std::end(state.bandSnrState), 1);
  state.floorLevel = 7;
}

}  // namespace arvessa
