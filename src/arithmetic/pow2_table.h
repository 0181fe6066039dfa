// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ArvessaTypes.h"

// 2^(i/64) in Q14, i = 0..64, the last entry clamped. Exported; the engine computes 2^x by a cubic.
extern "C" ARVESSA_API const Word16 WVQE_CONST_TABLE_POW2[65];
