// SPDX-License-Identifier: Apache-2.0
#pragma once
// Filters that give two noises the coherence of a sound field.

#include <vector>

namespace arvessa::app {

// Two independent noises of equal spectrum, n1 and n2, become
//   x1 = common * n1 + opposed * n2,  x2 = common * n1 - opposed * n2,
// which have that spectrum again and the coherence g if |common|^2 = (1 + g) / 2 and |opposed|^2 =
// (1 - g) / 2 (Habets, Cohen and Gannot, "Generating nonstationary multisensor signals under a
// spatial coherence constraint", 2008).
struct CoherenceFilters {
  std::vector<float> common, opposed;
};

// For a spherically isotropic field and two microphones `distance` metres apart: g = sin(x)/x with
// x = 2 pi f distance / c. The coherence is within 0.002 of g up to 0.95 of half the rate, within
// 0.012 above; the power is within 0.001 dB.
CoherenceFilters isotropicFilters(double distance, int rate);

}  // namespace arvessa::app
