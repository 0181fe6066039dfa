#pragma once
// One frame of noise reduction: analysis, noise estimate, suppression, synthesis.

#include "engine/engine_state.h"

extern "C" {

// One frame of 80, 160, 320 or 480 samples of Q15, by the rate code of `cfg`: advances the frame
// counters and runs WVQE_MainProcess with the rate's geometry. `in` and `out` may be the same
// frame.
ARVESSA_API void WVQE_NR_Proc(const Word16* in, Word16* out, const VornConfig* cfg,
                              WvqeState* state);

// The stages in their order. N, K and L: frame, bins and history of kGeometry[rateCode], N counted
// at the full rate (480 at rate code 3). With nrEnable not 1 the spectrum is left as it is, and the
// upper band at 48 kHz passes with a factor of 32767.
ARVESSA_API void WVQE_MainProcess(const Word16* in, WvqeState* state, int N, int K, Word16 L,
                                  Word16 rateCode, unsigned char nrEnable, Word16* out);

// Overlap-add of the 2K - N words of `olaBuffer` to the first of the 2K of `timeBuf`; `olaBuffer`
// receives the new overlap, the last words of `timeBuf`. Then de-emphasis y[n] = x[n] + 0.40327
// y[n-1] with its memory in `deemphMem`. The N output samples are twice the rounded upper half of y,
// saturated: Q15.
ARVESSA_API void VORN_WVQE_MainProcess_ASM(Word32* olaBuffer, Word32* timeBuf, Word32* deemphMem,
                                           Word16* out, int N, Word16 K);

}  // extern "C"
