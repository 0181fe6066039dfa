// Constant tables of the reference model. Whatever has a formula is computed from it when the
// program starts (twiddles, windows, powers, the gain curve), so the library's stored tables are
// compared with their origin; designed values without a formula (band edges, filters, gains) are
// listed. Objects are constants with dynamic initialisation: use them from main on, not from other
// globals.
#pragma once

#include <cstdint>
#include <vector>

#include "model_arithmetic.h"

namespace model {

using Bytes = std::vector<std::uint8_t>;
using Table16 = std::vector<Word16>;
using TableU16 = std::vector<std::uint16_t>;
using Table32 = std::vector<Word32>;
using TableFloat = std::vector<float>;

extern const Bytes u8BitRTab;
extern const Table16 WVQE_CONST_TABLE_POW2;             // 2^(i/64), Q14
extern const TableU16 WVQE_CONST_TABLE_HYPERGEOM_GAIN;  // (Gamma(1.25) M(-0.25; 1; -i/2))^2, Q13

// Interleaved (cos, -sin) pairs, Q15.
extern const Table16 WVQE_CONST_TABLE_FFT_COEF_8K, WVQE_CONST_TABLE_FFT_COEF_16K,
    WVQE_CONST_TABLE_FFT_COEF_32K;
extern const Table16 WVQE_CONST_TABLE_FFT_COEF_Rearrange_8K,
    WVQE_CONST_TABLE_FFT_COEF_Rearrange_16K, WVQE_CONST_TABLE_FFT_COEF_Rearrange_32K;

extern const Table16 WVQE_CONST_TABLE_WIN_8k, WVQE_CONST_TABLE_WIN_16k, WVQE_CONST_TABLE_WIN_32k;

// Per bin: the two bands it is shared between and its Q15 weights in them.
extern const Table32 WVQE_CONST_TABLE_BANK_LEFT_8K, WVQE_CONST_TABLE_BANK_LEFT_16K,
    WVQE_CONST_TABLE_BANK_LEFT_32K;
extern const Table32 WVQE_CONST_TABLE_BANK_RIGHT_8K, WVQE_CONST_TABLE_BANK_RIGHT_16K,
    WVQE_CONST_TABLE_BANK_RIGHT_32K;
extern const Table16 WVQE_CONST_TABLE_FILTER_LEFT_8K, WVQE_CONST_TABLE_FILTER_LEFT_16K,
    WVQE_CONST_TABLE_FILTER_LEFT_32K;
extern const Table16 WVQE_CONST_TABLE_FILTER_RIGHT_8K, WVQE_CONST_TABLE_FILTER_RIGHT_16K,
    WVQE_CONST_TABLE_FILTER_RIGHT_32K;

extern const Table16 WVQE_SUBBAND_NOISE_SUPPRESS_TABLE;
extern const Table32 AEC_CONST_LPF_B, AEC_CONST_LPF_A;                   // Q26
extern const Table32 AEC_CONST_HPF_B, AEC_CONST_HPF_A;                   // Q23
extern const Table32 WVQE_AGC_GAIN_TABLE_5_9, WVQE_AGC_GAIN_TABLE_15_9;  // Q16

extern const TableFloat MVDR_CONST_TABLE_FFT_fCOEF_8K;
extern const TableU16 MVDR_CONST_TABLE_PHASE_INDEX_8K;
extern const TableFloat MVDR_CONST_TABLE_fWIN_8k;

}  // namespace model
