// SPDX-License-Identifier: Apache-2.0
// The two real transforms: the engine's 32-bit fixed-point FFT in its constant-geometry form, and the
// beamformer's single-precision FFT. Both pack a half spectrum as DC, Nyquist, then (re, im) of bins
// 1, 2, ...
#pragma once

#include <cstdint>

#include "reference/arithmetic.h"

namespace reference {

// Fixed point; `sel` 0, 1, 2 selects 64, 128, 256 complex points.
void WVQE_FFT(Word32* x, Word16 n, Word16 points, Word16 stages, const Word16* twiddles,
              const Word16* reordering, Word32* out);
void WVQE_IFFT(Word32* X, Word16 n, Word16 points, Word16 stages, const Word16* twiddles,
               const Word16* reordering, Word32* out);
void WVQE_Complex_FFT(Word32* x, Word16 n);
void WVQE_Complex_IFFT(Word32* x, Word16 n);
void VORN_NR_c_fft_rever_ASM(const Word32* src, Word32* dst, int sel);
void VORN_NR_c_ifft_rever_ASM(const Word32* src, Word32* dst, int sel);
// The first stage reads `a` and writes `b`, the next reads `b` and writes `a`, and so on. The starting
// position and the pair counter are not read: the stages take the whole table once, from its start.
void VORN_NR_c_fft_COP_ASM(Word32* a, Word32* b, int twiddlePosition, int pairCounter, int sel);
void VORN_NR_c_ifft_COP_ASM(Word32* a, Word32* b, int twiddlePosition, int pairCounter, int sel);
void VORN_NR_r_fft_COP_ASM(const Word32* Z, Word32* X, int sel);
void VORN_NR_r_ifft_COP_ASM(const Word32* X, Word32* Z, int sel);

// Single precision; every operation rounded on its own.
void MVDR_Complex_FFT(float* data, int n, int half, int stages, const float* twiddle,
                      const std::uint16_t* phaseIndex);
void MVDR_Complex_IFFT(float* data, int n, int half, int stages, const float* twiddle,
                       const std::uint16_t* phaseIndex);
void MVDR_FFT(float* data, int n, int half, int stages, const float* twiddle,
              const std::uint16_t* phaseIndex, float* out);
void MVDR_IFFT(const float* spectrum, int n, int half, int stages, const float* twiddle,
               const std::uint16_t* phaseIndex, float* out);

}  // namespace reference
