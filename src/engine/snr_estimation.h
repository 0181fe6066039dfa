#pragma once
// A posteriori and a priori SNR per band, decision directed (Ephraim and Malah 1984) with a weight
// that adapts to the previous frame's Wiener gain.

#include "ArvessaTypes.h"

extern "C" {

// All arrays have 24 entries.
//
// postSnr       gamma - 1 in Q8, -256..25600, written
// priorSnr      xi in Q8, 0..25600, written
// bandSnrState  smoothed clean-speech power of the previous frames, in the units of bandPower; on
//               the first frame (frameNo 1) replaced by bandPower
// bandPower     power of the frame, 0 or more
// bandNoise     noise power with 7 more fraction bits, 0 or more
// frameNo       frames since initialisation, held at 32767
ARVESSA_API void WVQE_PostAndPriorSNR(Word16* postSnr, Word16* priorSnr, Word32* bandSnrState,
                                      const Word32* bandPower, const Word32* bandNoise,
                                      Word16 frameNo);

}  // extern "C"
