#pragma once
// Spectral analysis of a frame: normalisation, pre-emphasis, overlap with the previous frame,
// window, transform, power per bin and per band.

#include "engine/engine_state.h"

extern "C" {

// Q15 windows over history and new samples.
extern ARVESSA_API const Word16 WVQE_CONST_TABLE_WIN_8k[104];
extern ARVESSA_API const Word16 WVQE_CONST_TABLE_WIN_16k[208];
extern ARVESSA_API const Word16 WVQE_CONST_TABLE_WIN_32k[416];

// inWork     N samples in the upper halves; normalised in place to 6 bits of headroom
// powerSpec  K powers at the input's scale, written; bins 0 and 1 are 0
// bandPower  24 band powers, written
// timeBuf    2K words, work area
// spectrum   2K words, written: packed spectrum, normalised by the shift in state->inputExp, with
//            bins 0, 1 and K cleared
// specWork   2K words, written: the spectrum at the input's scale; may be timeBuf
// state      anaHistory, anaMem and inputExp are read and updated
//
// The geometry follows from K (64, 128, else 256), which must agree with N; twiddles, rearranged
// twiddles, window and L are accepted for the interface's sake and not read.
ARVESSA_API void WVQE_Analysis(Word32* inWork, Word32* powerSpec, Word32* bandPower,
                               Word32* timeBuf, Word32* spectrum, Word32* specWork,
                               const Word16* twiddles, const Word16* reordering,
                               const Word16* window, const Word32* bankLeft,
                               const Word16* filterLeft, const Word32* bankRight,
                               const Word16* filterRight, Word16 N, Word16 K, Word16 L,
                               Word16 rateCode, WvqeState* state);

// The windowed block of 2K words: history, pre-emphasised new samples, zeros. `d` is the shift that
// brings history and memory, both updated, to the scale of `inWork`. sizeCode 0, 1 and 2 for
// 8, 16 and 32 kHz.
ARVESSA_API void VORN_WVQE_Analysis1_ASM(Word32* timeBuf, const Word32* inWork, Word32* anaHistory,
                                         Word16 d, Word32* anaMem, Word16 sizeCode);

// 2 (re^2 + im^2) of the rounded upper halves of K bins, saturated; bin 0 without the bin K that
// shares its slot.
ARVESSA_API void VORN_WVQE_Analysis2_ASM(const Word32* spec, Word32* power, Word16 sizeCode);

}  // extern "C"
