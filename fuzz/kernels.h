// SPDX-License-Identifier: Apache-2.0
// The parts of the target `kernels`: each calls one of its routines, chosen by the input.
#pragma once

#include "fuzz.h"

namespace arvessa::fuzz {

// Operators and numeric functions against the reference, on a thousand operands.
void tryOperators(Random& random);
// Integer kernels, float kernels and frames of the beamformer: every form against the plain one.
void tryKernel(Random& random);
void tryFloatKernel(Random& random);

}  // namespace arvessa::fuzz
