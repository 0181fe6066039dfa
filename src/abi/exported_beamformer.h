// SPDX-License-Identifier: Apache-2.0
#pragma once
// The exported names of the float transform and of the beamformer.
//
// Real FFT in single precision: a half-size complex transform (Cooley and Tukey 1965, radix 2,
// decimation in time) and one pass between the spectrum of the sample pairs and that of the
// samples.
//
// Packed half spectrum of n real samples, n floats: element 0 the real value of bin 0, element 1
// the real value of bin n/2, elements 2b and 2b+1 the real and imaginary parts of bin b. The
// forward transform is scaled by 2/n, the inverse by n/2: one after the other returns the block,
// but for the rounding of the twiddles, whose magnitudes reach 1.00005 (by at most 6.2e-4 of the
// block's peak).
//
// n: floats of the block, 4..128, with the library's tables 128; half: n/2; stages: log2(n/2), at
// most 6; twiddle: n/2 pairs as in MVDR_CONST_TABLE_FFT_fCOEF_8K; phaseIndex: steps between the
// twiddles of neighbouring columns by stage. Nothing is checked. The order of the single-precision
// operations is part of the result.

#include "ArvessaTypes.h"

struct ArvessaState;

extern "C" {

// In-place complex transforms of n/2 interleaved elements: forward, each stage halving its outputs,
// and inverse, unscaled.
ARVESSA_API void MVDR_Complex_FFT(float* data, int n, int half, int stages, const float* twiddle,
                                  const unsigned short* phaseIndex);
ARVESSA_API void MVDR_Complex_IFFT(float* data, int n, int half, int stages, const float* twiddle,
                                   const unsigned short* phaseIndex);

// n real samples in `data` to a packed half spectrum in `out`. `data` is the work area of the
// complex transform and holds its spectrum afterwards; `out` must not overlap it.
ARVESSA_API void MVDR_FFT(float* data, int n, int half, int stages, const float* twiddle,
                          const unsigned short* phaseIndex, float* out);

// A packed half spectrum in `spectrum`, left as it is, to n real samples in `out`, no overlap.
ARVESSA_API void MVDR_IFFT(const float* spectrum, int n, int half, int stages, const float* twiddle,
                           const unsigned short* phaseIndex, float* out);

// One 10 ms frame at 8 kHz.
//
// frame  256 samples of Q15: microphone 1 in 0..127, microphone 2 in 128..255, each as 24 samples
//        of the previous frame, 80 new ones and 24 zeros; read only
// out    80 samples of Q15, in -32767..32767, lagging the input by 24
// work   reads frameCount; reads and updates beamOverlap, beamEnergy, beamSelected, beamPending and
//        beamConfirm
ARVESSA_API void MVDR_BeamForming(const Word16* frame, Word16* out, ArvessaState* work);

}  // extern "C"
