// SPDX-License-Identifier: Apache-2.0
#pragma once
// Complex weights of the three stored beams: W[s][k][m] at s * 128 + 2k + m for beam s, bin k and
// microphone m. They multiply the microphone spectra directly, without conjugation.

#include "ArvessaTypes.h"

extern "C" {

extern ARVESSA_API const float MVDR_CONST_W_UP_OPT_REAL_TABLE[384];
extern ARVESSA_API const float MVDR_CONST_W_UP_OPT_IMAGINARY_TABLE[384];

}  // extern "C"

namespace arvessa {

// Whether the weights of beam 2 are the conjugates of those of beam 0: of two directions opposite to
// each other, as delays of the one are advances of the other.
bool outerBeamsAreConjugate();

}  // namespace arvessa
