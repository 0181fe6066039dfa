// SPDX-License-Identifier: Apache-2.0
// Every entry of every exported table: against the reference if a formula gives it, else by a
// checksum. The checksums were confirmed by two transcriptions of the tables that were made
// independently of the library's. The beam weights have a test of their own.
#include "reference/tables.h"

#include "agc/agc_tables.h"
#include "arithmetic/pow2_table.h"
#include "beamformer/window_table.h"
#include "kernels/band_split_filters.h"
#include "kernels/float_transform_tables.h"
#include "kernels/gain_curves.h"
#include "noise_reduction/tables.h"
#include "support/support.h"

namespace arvessa::test {
namespace {

template <class T, std::size_t kSize>
void expectSameTable(const char* name, const T (&table)[kSize], const std::vector<T>& want) {
  ASSERT_EQ(kSize, want.size()) << name;
  for (std::size_t i = 0; i < kSize; ++i) ASSERT_EQ(table[i], want[i]) << name << "[" << i << "]";
}

#define SAME_TABLE(name) expectSameTable(#name, ::name, reference::name)
#define SAME_TABLES(name) \
  SAME_TABLE(name##_8K);  \
  SAME_TABLE(name##_16K); \
  SAME_TABLE(name##_32K)

TEST(Tables, OfFormulasEqualTheReference) {
  SAME_TABLE(u8BitRTab);
  SAME_TABLE(WVQE_CONST_TABLE_POW2);
  SAME_TABLE(WVQE_CONST_TABLE_HYPERGEOM_GAIN);
  SAME_TABLE(WVQE_CONST_TABLE_FFT_COEF_8K);
  SAME_TABLES(WVQE_CONST_TABLE_FFT_COEF_Rearrange);
  SAME_TABLE(WVQE_CONST_TABLE_WIN_8k);
  SAME_TABLES(WVQE_CONST_TABLE_BANK_LEFT);
  SAME_TABLES(WVQE_CONST_TABLE_BANK_RIGHT);
  SAME_TABLES(WVQE_CONST_TABLE_FILTER_LEFT);
  SAME_TABLE(MVDR_CONST_TABLE_FFT_fCOEF_8K);
  SAME_TABLE(MVDR_CONST_TABLE_PHASE_INDEX_8K);
  SAME_TABLE(MVDR_CONST_TABLE_fWIN_8k);
}

#define EXPECT_CHECKSUM(name, sum) EXPECT_EQ(checksum(::name, std::size(::name)), sum##ULL) << #name

TEST(Tables, WithoutFormulaKeepTheirChecksums) {
  EXPECT_CHECKSUM(WVQE_CONST_TABLE_FFT_COEF_16K, 0xD9E89225C98799DA);
  EXPECT_CHECKSUM(WVQE_CONST_TABLE_FFT_COEF_32K, 0xBBD16E3D0969671C);
  EXPECT_CHECKSUM(WVQE_CONST_TABLE_WIN_16k, 0xBE20155DABE63639);
  EXPECT_CHECKSUM(WVQE_CONST_TABLE_WIN_32k, 0xBA7976690833EAD6);
  EXPECT_CHECKSUM(WVQE_CONST_TABLE_FILTER_RIGHT_8K, 0x17E558F6F7C109AF);
  EXPECT_CHECKSUM(WVQE_CONST_TABLE_FILTER_RIGHT_16K, 0xDAC76F49A209398E);
  EXPECT_CHECKSUM(WVQE_CONST_TABLE_FILTER_RIGHT_32K, 0x3BDA8E11D942000C);
  EXPECT_CHECKSUM(WVQE_SUBBAND_NOISE_SUPPRESS_TABLE, 0xA57245D1760CE24B);
  EXPECT_CHECKSUM(AEC_CONST_LPF_B, 0x9F0A7BC741B7C967);
  EXPECT_CHECKSUM(AEC_CONST_LPF_A, 0xB0B1713034E5426C);
  EXPECT_CHECKSUM(AEC_CONST_HPF_B, 0x399E9FF6AC88182F);
  EXPECT_CHECKSUM(AEC_CONST_HPF_A, 0xA58F3604910C38CE);
  EXPECT_CHECKSUM(WVQE_AGC_GAIN_TABLE_5_9, 0x0541BC38735ACC4A);
  EXPECT_CHECKSUM(WVQE_AGC_GAIN_TABLE_15_9, 0x264A5E5AA43899F9);
}

}  // namespace
}  // namespace arvessa::test
