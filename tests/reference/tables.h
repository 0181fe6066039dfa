// SPDX-License-Identifier: Apache-2.0
// Constant tables. Whatever has a formula is computed from it when the program starts: use these
// from main on, not from other globals. Designed values without a formula are the library's own, and
// the tests hold each of those tables to a committed checksum.
#pragma once

#include <cstdint>
#include <vector>

#include "reference/arithmetic.h"

namespace reference {

using Table16 = std::vector<Word16>;
using TableU16 = std::vector<std::uint16_t>;
using Table32 = std::vector<Word32>;
using TableFloat = std::vector<float>;

extern const std::vector<std::uint8_t> u8BitRTab;
extern const Table16 WVQE_CONST_TABLE_POW2;             // 2^(i/64), Q14
extern const TableU16 WVQE_CONST_TABLE_HYPERGEOM_GAIN;  // (Gamma(1.25) M(-0.25; 1; -i/2))^2, Q13

// (cos, -sin) pairs, Q15: of half a turn, and in the order in which the stages consume them.
extern const Table16 WVQE_CONST_TABLE_FFT_COEF_8K;
extern const Table16 WVQE_CONST_TABLE_FFT_COEF_Rearrange_8K,
    WVQE_CONST_TABLE_FFT_COEF_Rearrange_16K, WVQE_CONST_TABLE_FFT_COEF_Rearrange_32K;

extern const Table16 WVQE_CONST_TABLE_WIN_8k;

// Per bin: the two bands it is shared between and its Q15 weight in the left one.
extern const Table32 WVQE_CONST_TABLE_BANK_LEFT_8K, WVQE_CONST_TABLE_BANK_LEFT_16K,
    WVQE_CONST_TABLE_BANK_LEFT_32K;
extern const Table32 WVQE_CONST_TABLE_BANK_RIGHT_8K, WVQE_CONST_TABLE_BANK_RIGHT_16K,
    WVQE_CONST_TABLE_BANK_RIGHT_32K;
extern const Table16 WVQE_CONST_TABLE_FILTER_LEFT_8K, WVQE_CONST_TABLE_FILTER_LEFT_16K,
    WVQE_CONST_TABLE_FILTER_LEFT_32K;

extern const TableFloat MVDR_CONST_TABLE_FFT_fCOEF_8K;
extern const TableU16 MVDR_CONST_TABLE_PHASE_INDEX_8K;
extern const TableFloat MVDR_CONST_TABLE_fWIN_8k;

// The library's.
extern "C" {
extern const Word16 WVQE_CONST_TABLE_FFT_COEF_16K[256], WVQE_CONST_TABLE_FFT_COEF_32K[512];
extern const Word16 WVQE_CONST_TABLE_WIN_16k[208], WVQE_CONST_TABLE_WIN_32k[416];
extern const Word16 WVQE_CONST_TABLE_FILTER_RIGHT_8K[64], WVQE_CONST_TABLE_FILTER_RIGHT_16K[128],
    WVQE_CONST_TABLE_FILTER_RIGHT_32K[256];                    // Q15 weights in the right band
extern const Word32 AEC_CONST_LPF_B[11], AEC_CONST_LPF_A[11];  // Q26
extern const Word32 AEC_CONST_HPF_B[11], AEC_CONST_HPF_A[11];  // Q23
extern const Word32 WVQE_AGC_GAIN_TABLE_5_9[32], WVQE_AGC_GAIN_TABLE_15_9[32];  // Q16
// Weights of beam s, bin k and microphone m at s * 128 + 2 * k + m.
extern const float MVDR_CONST_W_UP_OPT_REAL_TABLE[384], MVDR_CONST_W_UP_OPT_IMAGINARY_TABLE[384];
}

}  // namespace reference
