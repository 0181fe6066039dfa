// SPDX-License-Identifier: Apache-2.0
#pragma once
// Tables of the 128-point float transform.

#include "ArvessaTypes.h"

namespace arvessa::kernels {

// The twiddles below with real and imaginary parts apart, by angle, and in the order in which the
// stages with 4, 8, 16 and 32 columns use them.
[[gnu::visibility("hidden")]] extern const float kTwiddleCosine[64];
[[gnu::visibility("hidden")]] extern const float kTwiddleSine[64];
[[gnu::visibility("hidden")]] alignas(16) extern const float kStageCosine[60];
[[gnu::visibility("hidden")]] alignas(16) extern const float kStageSine[60];

}  // namespace arvessa::kernels

extern "C" {

// 64 complex twiddles exp(-2 pi j m / 128), interleaved. Of magnitude up to 1.00005, since they are
// Q15 integers divided by 32767.
extern ARVESSA_API const float MVDR_CONST_TABLE_FFT_fCOEF_8K[128];

// Step, in complex twiddles, between the butterfly columns of stage s: 64 >> s.
extern ARVESSA_API const unsigned short MVDR_CONST_TABLE_PHASE_INDEX_8K[6];

}  // extern "C"
