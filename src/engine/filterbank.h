#pragma once
// The 24-band filterbank: triangular bands that widen with frequency. Each bin lies between the
// centres of two neighbouring bands and shares its power between them; its two weights add up to
// 32767.

#include "ArvessaTypes.h"

extern "C" {

// By bin: the lower and the upper of its two bands, 0..23, and its Q15 weights in them. 64 bins at
// 8 kHz, 128 at 16 kHz, 256 at 32 kHz.
extern ARVESSA_API const Word32 WVQE_CONST_TABLE_BANK_LEFT_8K[64];
extern ARVESSA_API const Word32 WVQE_CONST_TABLE_BANK_LEFT_16K[128];
extern ARVESSA_API const Word32 WVQE_CONST_TABLE_BANK_LEFT_32K[256];
extern ARVESSA_API const Word32 WVQE_CONST_TABLE_BANK_RIGHT_8K[64];
extern ARVESSA_API const Word32 WVQE_CONST_TABLE_BANK_RIGHT_16K[128];
extern ARVESSA_API const Word32 WVQE_CONST_TABLE_BANK_RIGHT_32K[256];
extern ARVESSA_API const Word16 WVQE_CONST_TABLE_FILTER_LEFT_8K[64];
extern ARVESSA_API const Word16 WVQE_CONST_TABLE_FILTER_LEFT_16K[128];
extern ARVESSA_API const Word16 WVQE_CONST_TABLE_FILTER_LEFT_32K[256];
extern ARVESSA_API const Word16 WVQE_CONST_TABLE_FILTER_RIGHT_8K[64];
extern ARVESSA_API const Word16 WVQE_CONST_TABLE_FILTER_RIGHT_16K[128];
extern ARVESSA_API const Word16 WVQE_CONST_TABLE_FILTER_RIGHT_32K[256];

// K bin powers to 24 band powers, any scale, saturating sums in bin order. bankRight[k] is
// bankLeft[k] + 1.
ARVESSA_API void WVQE_Spectrum_Bank(const Word32* binPower, Word32* bandOut, const Word32* bankLeft,
                                    const Word32* bankRight, const Word16* filterLeft,
                                    const Word16* filterRight, Word16 K);

// 24 band values to K bin values, Q15: the weighted sum of the bin's two bands, floored.
ARVESSA_API void WVQE_Spectrum_PSD(Word16* binOut, const Word16* filterLeft,
                                   const Word16* filterRight, const Word32* bankLeft,
                                   const Word32* bankRight, const Word16* bandValues, Word16 K);

}  // extern "C"
