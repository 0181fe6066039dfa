#pragma once
// Two bands at 48 kHz: the low one, decimated by 3 to 16 kHz, for the spectral chain, and the upper
// one. Recursive filters of order 10 (elliptic; crossover at 0.15 of the rate), low-pass -3 dB at
// 0.147 and -42 dB from 1/6 on, high-pass -42 dB up to 0.13.

#include "ArvessaTypes.h"

extern "C" {

// Coefficients by delay; low-pass in Q26, high-pass in Q23. A[0] is 1 and not used.
extern ARVESSA_API const Word32 AEC_CONST_LPF_B[11];
extern ARVESSA_API const Word32 AEC_CONST_LPF_A[11];
extern ARVESSA_API const Word32 AEC_CONST_HPF_B[11];
extern ARVESSA_API const Word32 AEC_CONST_HPF_A[11];

// 3 len samples of `in` to len samples of `low`, the first of every three low-pass outputs, and
// 3 len of `high`, all Q15. The filter memories hold 10 values each, most recent first: inputs X in
// Q15, outputs Y with 13 more fraction bits. No overlap.
ARVESSA_API void AEC_Split_Ne(const Word16* in, Word16* low, Word16* high, Word16 len,
                              Word16* splitLpfX, Word32* splitLpfY, Word16* splitHpfX,
                              Word32* splitHpfY);

// The inverse: len samples of `low` as every third of 3 len, interpolated by the low-pass with a
// gain of 3, plus the 3 len of `high`, saturated. Up to 160 samples, `out` may be `low`.
ARVESSA_API void AEC_Syn_Ne(const Word16* low, const Word16* high, Word16* out, Word16 len,
                            Word16* synLpfX, Word32* synLpfY);

}  // extern "C"
