#pragma once
// The curves of the suppression gain and the controller of its floor.

#include "engine/engine_state.h"

extern "C" {

// T(v) = [Gamma(1.25) M(-0.25; 1; -v)]^2 in Q13 at v = 0, 0.5 .. 10.
extern ARVESSA_API const unsigned short WVQE_CONST_TABLE_HYPERGEOM_GAIN[21];

// T(v) / sqrt(v) in Q15 for v in Q11, v >= 0: the gain factor of the beta-order MMSE amplitude
// estimator with beta = 0.5 (You, Koh and Rahardja 2005). Interpolated below v = 10, 1 + 0.1296 / v
// above; about 83.1 at v = 0. A negative v gives 32767.
ARVESSA_API Word32 WVQE_Hypergeom_Gain(Word32 v);

// x / (x + 0.15) in Q15, 831..32767, for an SNR x in Q8; x <= 1 counts as 1.
ARVESSA_API Word32 WVQE_Qcurve(Word32 x);

// Moves the depth of the suppression floor (state->floorLevel, 4..15 dB) by at most 1 dB towards a
// target that rises with the total of the 24 band noise powers (7 fraction bits), with a hysteresis
// of 3 dB, and writes it, negative, to *floorDb.
ARVESSA_API void WVQE_Gain_Floor(const Word32* bandNoise, Word16* floorDb, WvqeState* state);

}  // extern "C"
