// SPDX-License-Identifier: Apache-2.0
#pragma once
// The controller of the suppression floor.

#include <span>

#include "kernels/kernels.h"

namespace arvessa {

// Moves the depth of the suppression floor, 4..15 dB, by at most 1 dB towards a target that rises
// with the total of the band noise powers (7 fraction bits), with a hysteresis of 3 dB.
void moveFloor(std::span<const Word32, kernels::kBands> noise, Word16& depth);

}  // namespace arvessa
