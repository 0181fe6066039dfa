// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>

namespace arvessa::app {

inline constexpr int kDelayReach = 32;  // samples that the interpolation looks to either side

// Adds `x`, later by `delay` samples (any real number, negative ones are earlier), to `y`, which
// has the same length. Outside of its length `x` is taken as zero. Band-limited interpolation with
// a sinc under a Blackman window of 64 samples: the gain is within 0.01 dB of 1 up to 0.44 of the
// sample rate.
void addDelayed(std::span<const float> x, double delay, std::span<float> y);

}  // namespace arvessa::app
