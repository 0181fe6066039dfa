// SPDX-License-Identifier: Apache-2.0
// The float transform as it is exported: bit for bit against the reference, and against a DFT in double
// precision.
#include <bit>
#include <complex>

#include "abi/exported_beamformer.h"
#include "kernels/float_transform_tables.h"
#include "reference/fft.h"
#include "support/float_blocks.h"
#include "support/side_by_side.h"

namespace arvessa::test {
namespace {

const float* const kTwiddle = MVDR_CONST_TABLE_FFT_fCOEF_8K;
const unsigned short* const kPhase = MVDR_CONST_TABLE_PHASE_INDEX_8K;

// Blocks of every kind, with the twiddles and steps of a call.
void expectSameTransforms(int n, int stages, const float* twiddle, const unsigned short* phase) {
  Random random(10);
  forEach(kKinds, 60, [&](Kind kind) {
    const Block block = drawBlock(kind, random, n);
    EXPECT_SAME(MVDR_FFT, Both(block), n, n / 2, stages, twiddle, phase, Both(block));
    EXPECT_SAME(MVDR_IFFT, Both(block), n, n / 2, stages, twiddle, phase, Both(block));
    EXPECT_SAME(MVDR_Complex_FFT, Both(block), n, n / 2, stages, twiddle, phase);
    EXPECT_SAME(MVDR_Complex_IFFT, Both(block), n, n / 2, stages, twiddle, phase);
  });
}

TEST(FloatFft, EqualsTheReference) { expectSameTransforms(128, 6, kTwiddle, kPhase); }

TEST(FloatFft, EqualsTheReferenceWithTablesOfTheCaller) {
  Block smaller(kTwiddle, kTwiddle + 128);
  for (float& w : smaller) w *= 0.75F;
  const unsigned short halfSteps[6] = {32, 16, 8, 4, 2, 1};
  expectSameTransforms(128, 6, kTwiddle, kPhase);
  expectSameTransforms(128, 6, smaller.data(), kPhase);
  expectSameTransforms(128, 6, kTwiddle, halfSteps);
  expectSameTransforms(128, 0, kTwiddle, kPhase);
}

// A smaller transform takes every (128 / n)-th twiddle.
TEST(FloatFft, EqualsTheReferenceAtSmallerSizes) {
  for (int n = 4; n < 128; n *= 2) {
    Block twiddle;
    for (int m = 0; m < n / 2; ++m) {
      twiddle.insert(twiddle.end(), {kTwiddle[256 / n * m], kTwiddle[256 / n * m + 1]});
    }
    unsigned short steps[6];
    for (int s = 0; s < 6; ++s) steps[s] = static_cast<unsigned short>((n / 2) >> s);
    expectSameTransforms(n, std::countr_zero(static_cast<unsigned>(n)) - 1, twiddle.data(), steps);
  }
}

TEST(FloatFft, IsTheDftAndItsInverse) {
  Random random(11);
  Block samples(128);
  for (float& x : samples) x = static_cast<float>(random.wordOf(15));
  Block work = samples, spectrum = samples, back = samples;
  MVDR_FFT(work.data(), 128, 64, 6, kTwiddle, kPhase, spectrum.data());
  for (std::size_t bin = 1; bin < 64; ++bin) {
    std::complex<double> exact = 0;
    for (std::size_t m = 0; m < 128; ++m) {
      exact += std::polar(1.0, -2 * M_PI * static_cast<double>(bin * m) / 128) * double{samples[m]};
    }
    EXPECT_NEAR(spectrum[2 * bin], exact.real() / 64, 3) << bin;
    EXPECT_NEAR(spectrum[2 * bin + 1], exact.imag() / 64, 3) << bin;
  }
  MVDR_IFFT(spectrum.data(), 128, 64, 6, kTwiddle, kPhase, back.data());
  for (std::size_t i = 0; i < 128; ++i) EXPECT_NEAR(back[i], samples[i], 32768 * 4.4e-4) << i;
}

}  // namespace
}  // namespace arvessa::test
