#pragma once
// Suppression gain: the beta-order MMSE amplitude estimator (You, Koh and Rahardja 2005, beta =
// 0.5) in 24 bands, mixed with an adaptive floor by the speech presence probability (Cohen 2002),
// and spread to the bins.

#include "engine/engine_state.h"

extern "C" {

// Amplitudes per band, Q15. Not used by the engine, whose floor adapts.
extern ARVESSA_API const Word16 WVQE_SUBBAND_NOISE_SUPPRESS_TABLE[24];

// postSnr, priorSnr  24 values in Q8 (-256..25600, 0..25600)
// bandNoise          24 noise powers, 7 fraction bits
// bandPower          24 powers
// bank, filter       filterbank tables of the rate (filterbank.h)
// nrEnable           0: all gains 32767 and no state changes
// nBins              64, 128 or 256
// binGain            nBins gains in Q15, 0..32767, written
// state              bandSmooth, bandSnrState and floorLevel are read and updated
ARVESSA_API void WVQE_Gain_Proc(WvqeState* state, const Word16* postSnr, const Word16* priorSnr,
                                const Word32* bandNoise, const Word32* bandPower,
                                const Word32* bankLeft, const Word16* filterLeft,
                                const Word32* bankRight, const Word16* filterRight,
                                unsigned char nrEnable, Word16 nBins, Word16* binGain);

// Smooths the a priori SNR over frames, Q8, and sums it over the bands.
ARVESSA_API void VORN_NR_Gain_Proc1_ASM(Word16* bandSmooth, const Word16* priorSnr,
                                        Word32* priorSnrSum);

// Gain under speech presence and speech presence probability, both Q15, and the clean-speech power
// of the next frame's a priori SNR. globalPresence: 4024..32734, Q15.
ARVESSA_API void VORN_NR_Gain_Proc2_ASM(const Word16* priorSnr, const Word32* bandPower,
                                        Word16* gainH1, Word32* bandSnrState, const Word16* postSnr,
                                        const Word16* bandSmooth, Word16* speechProb,
                                        Word16 globalPresence);

// Applies the floor to gainH1, in place, and mixes: bandGain = (p sqrt(gainH1) + (1 - p)
// sqrt(floor)) squared, Q15.
ARVESSA_API void VORN_NR_Gain_Proc3_ASM(const Word32* bandNoise, Word16* gainH1,
                                        const Word16* speechProb, Word16* bandGain,
                                        Word16 floorGain);

}  // extern "C"
