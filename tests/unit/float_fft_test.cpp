// SPDX-License-Identifier: Apache-2.0
// The float transform as it is exported: bit for bit against the reference, and against a DFT in double
// precision.
#include <array>
#include <bit>
#include <cmath>
#include <complex>

#include "abi/exported_beamformer.h"
#include "kernels/float_transform_tables.h"
#include "reference/fft.h"
#include "unit/float_blocks.h"

namespace arvessa::test {
namespace {

const float* const kTwiddle = MVDR_CONST_TABLE_FFT_fCOEF_8K;
const unsigned short* const kPhase = MVDR_CONST_TABLE_PHASE_INDEX_8K;

// The arguments of a call besides its blocks.
struct Call {
  int n;
  int stages;
  const float* twiddle;
  const unsigned short* phase;
};

void expectSameTransforms(const Call& c, const Block& block) {
  const auto n = static_cast<std::size_t>(c.n);
  const auto expectSame = [&](const char* name, auto transform) {
    Block got[2] = {block, Block(n)};
    Block want[2] = {block, Block(n)};
    transform(got, std::false_type());
    transform(want, std::true_type());
    expectSameArray(got[0].data(), want[0].data(), n, name);
    expectSameArray(got[1].data(), want[1].data(), n, name);
  };
#define EXPECT_SAME(name, ...)                                                          \
  expectSame(#name, [&](Block(&x)[2], auto wanted) {                                    \
    (wanted ? reference::name : ::name)(x[0].data(), c.n, c.n / 2, c.stages, c.twiddle, \
                                        c.phase __VA_OPT__(, ) __VA_ARGS__);            \
  })
  EXPECT_SAME(MVDR_FFT, x[1].data());
  EXPECT_SAME(MVDR_IFFT, x[1].data());
  EXPECT_SAME(MVDR_Complex_FFT);
  EXPECT_SAME(MVDR_Complex_IFFT);
#undef EXPECT_SAME
}

TEST(FloatFft, EqualsTheReference) {
  Block smaller(kTwiddle, kTwiddle + 128);
  for (float& w : smaller) w *= 0.75F;
  const unsigned short halfSteps[6] = {32, 16, 8, 4, 2, 1};
  const Call calls[] = {{128, 6, kTwiddle, kPhase},
                        {128, 6, smaller.data(), kPhase},
                        {128, 6, kTwiddle, halfSteps},
                        {128, 0, kTwiddle, kPhase}};
  Random random(10);
  for (const Kind kind : kKinds) {
    for (const Call& call : calls) {
      for (int round = 0; round < 100; ++round) {
        SCOPED_TRACE(testing::Message() << "kind " << kind << ", call " << &call - calls);
        expectSameTransforms(call, drawBlock(kind, random, 128));
        if (HasFailure()) return;
      }
    }
  }
}

// A smaller transform takes every (128 / n)-th twiddle.
TEST(FloatFft, EqualsTheReferenceAtSmallerSizes) {
  Random random(12);
  for (int n = 4; n < 128; n *= 2) {
    Block twiddle;
    for (int m = 0; m < n / 2; ++m) {
      twiddle.insert(twiddle.end(), {kTwiddle[256 / n * m], kTwiddle[256 / n * m + 1]});
    }
    unsigned short steps[6];
    for (int s = 0; s < 6; ++s) steps[s] = static_cast<unsigned short>((n / 2) >> s);
    const Call call = {n, std::countr_zero(static_cast<unsigned>(n)) - 1, twiddle.data(), steps};
    for (const Kind kind : kKinds) {
      for (int round = 0; round < 20; ++round) {
        SCOPED_TRACE(testing::Message() << "kind " << kind << ", size " << n);
        expectSameTransforms(call, drawBlock(kind, random, n));
        if (HasFailure()) return;
      }
    }
  }
}

TEST(FloatFft, IsTheDftAndItsInverse) {
  Random random(11);
  Block samples(128);
  for (float& x : samples) x = static_cast<float>(random.wordOf(15));
  Block work = samples;
  Block spectrum(128);
  MVDR_FFT(work.data(), 128, 64, 6, kTwiddle, kPhase, spectrum.data());
  for (std::size_t bin = 1; bin < 64; ++bin) {
    std::complex<double> exact = 0;
    for (std::size_t m = 0; m < 128; ++m) {
      exact += std::polar(1.0, -2 * M_PI * static_cast<double>(bin * m) / 128) * double{samples[m]};
    }
    EXPECT_NEAR(spectrum[2 * bin], exact.real() / 64, 3) << bin;
    EXPECT_NEAR(spectrum[2 * bin + 1], exact.imag() / 64, 3) << bin;
  }
  Block back(128);
  MVDR_IFFT(spectrum.data(), 128, 64, 6, kTwiddle, kPhase, back.data());
  for (std::size_t i = 0; i < 128; ++i) EXPECT_NEAR(back[i], samples[i], 32768 * 4.4e-4) << i;
}

}  // namespace
}  // namespace arvessa::test
