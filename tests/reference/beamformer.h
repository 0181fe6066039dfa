// SPDX-License-Identifier: Apache-2.0
// The two-microphone beamformer: three fixed sets of weights, the most energetic of which produces
// the output. Every float operation is rounded on its own.
#pragma once

#include "reference/state.h"

namespace reference {

void MVDR_BeamForming(const Word16* frame, Word16* out, ArvessaState* work);

}  // namespace reference
