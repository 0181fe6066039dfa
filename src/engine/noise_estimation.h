#pragma once
// Noise power per bin by minima-controlled recursive averaging (Cohen 2002) with hard decisions,
// and the frame's voice activity.

#include "engine/engine_state.h"

extern "C" {

// The whole stage for a frame of K bins: reads powerSpec, writes K bytes of binActive (1: speech,
// 0: noise) and updates psdSmooth, psdMin, psdTmpMin, noisePsd and vadFlag; restarts minWinCount.
// The frame counters have been advanced. K is even and at least 4.
ARVESSA_API void WVQE_Noise_Vad(WvqeState* state, int K, const Word32* powerSpec,
                                unsigned char* binActive);

// Smooths the power over time (0.8 of the old value) and over three bins.
ARVESSA_API void VORN_WVQE_Noise_Vad1_ASM(Word32* psdSmooth, const Word32* powerSpec, int K);

// A bin is active when its smoothed power exceeds 3.2 times its minimum, the frame carries voice
// when the total exceeds 16.4 times the total minimum.
ARVESSA_API void VORN_WVQE_Noise_Vad2_ASM(const Word32* psdSmooth, const Word32* psdMin,
                                          unsigned char* binActive, Word16* vadFlag, Word16 K);

// Averages the power of the bins that are not active, or that lie below the estimate, into noisePsd
// (7 fraction bits) with weight alpha, Q15.
ARVESSA_API void VORN_WVQE_Noise_Vad3_ASM(const Word32* powerSpec, Word32* noisePsd,
                                          const unsigned char* binActive, Word16 alpha, Word16 K);

}  // extern "C"
