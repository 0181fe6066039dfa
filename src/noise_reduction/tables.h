// SPDX-License-Identifier: Apache-2.0
#pragma once
// The constant tables of the noise reduction, by transform size: 64 bins at 8 kHz, 128 at 16 kHz, 256 at 32
// kHz. They are chosen in one place only, geometry.cpp.

#include <cstdint>

#include "ArvessaTypes.h"

extern "C" {

// Twiddles (cos t, -sin t) in Q15, t = pi j / N of N pairs.
extern ARVESSA_API const Word16 WVQE_CONST_TABLE_FFT_COEF_8K[128];
extern ARVESSA_API const Word16 WVQE_CONST_TABLE_FFT_COEF_16K[256];
extern ARVESSA_API const Word16 WVQE_CONST_TABLE_FFT_COEF_32K[512];

// The pairs of all stages but the first in the order of their use.
extern ARVESSA_API const Word16 WVQE_CONST_TABLE_FFT_COEF_Rearrange_8K[184];
extern ARVESSA_API const Word16 WVQE_CONST_TABLE_FFT_COEF_Rearrange_16K[376];
extern ARVESSA_API const Word16 WVQE_CONST_TABLE_FFT_COEF_Rearrange_32K[760];

// The bits of a byte in reverse order.
extern ARVESSA_API const unsigned char u8BitRTab[256];

// Q15 windows over history and new samples.
extern ARVESSA_API const Word16 WVQE_CONST_TABLE_WIN_8k[104];
extern ARVESSA_API const Word16 WVQE_CONST_TABLE_WIN_16k[208];
extern ARVESSA_API const Word16 WVQE_CONST_TABLE_WIN_32k[416];

// The 24-band filterbank, triangular bands that widen with frequency. By bin: the lower and the
// upper of the two bands between whose centres it lies, 0..23, and its Q15 weights in them, which
// add up to 32767.
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

// Amplitudes per band, Q15. Not used by the engine, whose floor adapts.
extern ARVESSA_API const Word16 WVQE_SUBBAND_NOISE_SUPPRESS_TABLE[24];

}  // extern "C"

namespace arvessa {

// BANK_LEFT by band: the first bin whose lower band it is. The last entry is the number of bins.
extern const std::uint16_t kFirstBins8k[25];
extern const std::uint16_t kFirstBins16k[25];
extern const std::uint16_t kFirstBins32k[25];

}  // namespace arvessa
