// SPDX-License-Identifier: Apache-2.0
#pragma once
// Real FFT in 32-bit fixed point: a half-size complex transform, radix 2 in constant geometry
// (Pease 1968): every stage reads neighbouring points and writes its two results half the block
// apart, so that all stages address alike and read their twiddles in sequence; and one pass between
// the spectrum of the sample pairs and that of the samples.
//
// A real block of 2N words x[m] counts as N complex points x[2n] + j x[2n+1]. Packed spectrum, 2N
// words: the real values of bins 0 and N, then real and imaginary part of bins 1..N-1. Forward,
// each stage halves: the result is the DFT divided by N. Inverse: not halved, so it returns the
// block. All sums saturate. Twiddles are pairs (cos t, -sin t) in Q15.
//
// Sizes: n = 2N = 128, 256 and 512, selector `sel` 0, 1 and 2, at 8, 16 and 32 kHz. The number of
// points, of stages, the twiddles and their reordered copy are not read: they follow from the size.

#include "ArvessaTypes.h"

extern "C" {

// n samples in `x`, which then holds the complex spectrum of the pairs, to a packed spectrum in
// `out`. Another n counts as 512.
ARVESSA_API void WVQE_FFT(Word32* x, Word16 n, Word16 points, Word16 stages, const Word16* twiddles,
                          const Word16* reordering, Word32* out);

// A packed spectrum in `X`, left as it is, to n samples in `out`. For another n the unpacking
// counts it as 128 and the complex transform as 512: `out` then needs 512 words.
ARVESSA_API void WVQE_IFFT(const Word32* X, Word16 n, Word16 points, Word16 stages,
                           const Word16* twiddles, const Word16* reordering, Word32* out);

// Complex transforms of n/2 points in place. Another n counts as 512.
ARVESSA_API void WVQE_Complex_FFT(Word32* x, Word16 n);
ARVESSA_API void WVQE_Complex_IFFT(Word32* x, Word16 n);

// First stage, `src` in bit-reversed order; the two must not overlap.
ARVESSA_API void VORN_NR_c_fft_rever_ASM(const Word32* src, Word32* dst, int sel);
ARVESSA_API void VORN_NR_c_ifft_rever_ASM(const Word32* src, Word32* dst, int sel);

// The other log2(N) - 1 stages, alternating between the blocks, from `a` first. The result lies in
// `b` for sel 0 and 2, in `a` for sel 1. The starting twiddle position and the pair counter are not
// read: a transform reads the whole table once, and would read past its end from another position
// than 0.
ARVESSA_API void VORN_NR_c_fft_COP_ASM(Word32* a, Word32* b, int twiddlePosition, int pairCounter,
                                       int sel);
ARVESSA_API void VORN_NR_c_ifft_COP_ASM(Word32* a, Word32* b, int twiddlePosition, int pairCounter,
                                        int sel);

// Bins 1..N-1 of the packed spectrum `X` from the spectrum `Z` of the pairs, and back; no overlap.
ARVESSA_API void VORN_NR_r_fft_COP_ASM(const Word32* Z, Word32* X, int sel);
ARVESSA_API void VORN_NR_r_ifft_COP_ASM(const Word32* X, Word32* Z, int sel);

}  // extern "C"
