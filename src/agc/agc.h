#pragma once
// Automatic gain control: the frame's peak power in short subframes, a fast and a slow envelope, a
// table of gains by headroom, and a gain that ramps across the frame.

#include "engine/engine_state.h"

extern "C" {

// Gains in Q16 by headroom in bits of power: from -1.9 to 8.9 dB, and from 1.2 to 18.4 dB.
// Headrooms 0 and 1 do not occur.
extern ARVESSA_API const Word32 WVQE_AGC_GAIN_TABLE_5_9[32];
extern ARVESSA_API const Word32 WVQE_AGC_GAIN_TABLE_15_9[32];

// Levels one frame of 80, 160, 320 or 480 samples of Q15 by rate code. Reads vadFlag; reads and
// updates agcEnvFast, agcEnvSlow, agcGainIdx and agcUpCount. `y` may be `x`. Another rate code
// returns at once.
ARVESSA_API void VED_AGC_Process(WvqeState* state, const Word16* x, const Word32* table,
                                 Word16 rateCode, Word16* y);

// Leading zero bits of v read as unsigned; 0 for 0.
ARVESSA_API Word16 AGC_norm_l(Word32 v);

}  // extern "C"
