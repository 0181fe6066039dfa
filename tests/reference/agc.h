// SPDX-License-Identifier: Apache-2.0
// Automatic gain control: peak envelopes per subframe, a headroom count as index into a gain table,
// and a ramp across the frame.
#pragma once

#include "reference/state.h"

namespace reference {

Word16 AGC_norm_l(Word32 v);
void VED_AGC_Process(WvqeState* state, const Word16* x, const Word32* table, Word16 rateCode,
                     Word16* y);

}  // namespace reference
