// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ArvessaTypes.h"

// Analysis window: 24 values rising as sin^2, 56 ones, 24 falling. Windows 80 samples apart add up
// to 1 within 3e-8.
extern "C" ARVESSA_API const float MVDR_CONST_TABLE_fWIN_8k[104];
