// SPDX-License-Identifier: Apache-2.0
// The front end: the caller's two entry points over beamformer and engine.
#pragma once

#include "reference/state.h"

namespace reference {

int Arvessa_Init(ArvessaConfig* cfg);
int Arvessa(const Word16* in, Word16* out, ArvessaConfig* cfg);

}  // namespace reference
