// Every entry of every exported table against the model's, which computes them from their formulas
// or holds a second transcription, and the properties that a formula does not show.
#include "agc/agc.h"
#include "beamformer/float_fft_tables.h"
#include "engine/analysis.h"
#include "engine/band_split.h"
#include "engine/filterbank.h"
#include "engine/fixed_fft.h"
#include "engine/gain_curves.h"
#include "engine/suppression_gain.h"
#include "fixedpoint/numeric_api.h"
#include "model_tables.h"
#include "support.h"

namespace arvessa::test {
namespace {

template <class T, std::size_t kSize, class Model>
void expectSameTable(const char* name, const T (&table)[kSize], const Model& model) {
  ASSERT_EQ(kSize, model.size()) << name;
  for (std::size_t i = 0; i < kSize; ++i) ASSERT_EQ(table[i], model[i]) << name << "[" << i << "]";
}

#define SAME_TABLE(name) expectSameTable(#name, ::name, model::name)
#define SAME_TABLES(name) \
  SAME_TABLE(name##_8K);  \
  SAME_TABLE(name##_16K); \
  SAME_TABLE(name##_32K)

TEST(Tables, EqualTheModelEntryByEntry) {
  SAME_TABLE(u8BitRTab);
  SAME_TABLE(WVQE_CONST_TABLE_POW2);
  SAME_TABLE(WVQE_CONST_TABLE_HYPERGEOM_GAIN);
  SAME_TABLES(WVQE_CONST_TABLE_FFT_COEF);
  SAME_TABLES(WVQE_CONST_TABLE_FFT_COEF_Rearrange);
  SAME_TABLE(WVQE_CONST_TABLE_WIN_8k);
  SAME_TABLE(WVQE_CONST_TABLE_WIN_16k);
  SAME_TABLE(WVQE_CONST_TABLE_WIN_32k);
  SAME_TABLES(WVQE_CONST_TABLE_BANK_LEFT);
  SAME_TABLES(WVQE_CONST_TABLE_BANK_RIGHT);
  SAME_TABLES(WVQE_CONST_TABLE_FILTER_LEFT);
  SAME_TABLES(WVQE_CONST_TABLE_FILTER_RIGHT);
  SAME_TABLE(WVQE_SUBBAND_NOISE_SUPPRESS_TABLE);
  SAME_TABLE(AEC_CONST_LPF_B);
  SAME_TABLE(AEC_CONST_LPF_A);
  SAME_TABLE(AEC_CONST_HPF_B);
  SAME_TABLE(AEC_CONST_HPF_A);
  SAME_TABLE(WVQE_AGC_GAIN_TABLE_5_9);
  SAME_TABLE(WVQE_AGC_GAIN_TABLE_15_9);
  SAME_TABLE(MVDR_CONST_TABLE_FFT_fCOEF_8K);
  SAME_TABLE(MVDR_CONST_TABLE_PHASE_INDEX_8K);
  SAME_TABLE(MVDR_CONST_TABLE_fWIN_8k);
}

// Windows one frame apart add up to one, so that analysis and synthesis return the signal.
TEST(Tables, FloatWindowsAddUpToOne) {
  for (int i = 0; i < 24; ++i) {
    const double sum = double{MVDR_CONST_TABLE_fWIN_8k[i]} + MVDR_CONST_TABLE_fWIN_8k[80 + i];
    EXPECT_NEAR(sum, 1.0, 3e-8) << i;
  }
}

}  // namespace
}  // namespace arvessa::test
