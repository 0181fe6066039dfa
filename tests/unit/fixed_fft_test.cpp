// SPDX-License-Identifier: Apache-2.0
// The fixed-point transform: bit for bit against the reference at every level, full scale included,
// and against a DFT in double precision.
#include <cmath>
#include <complex>

#include "abi/exported_transforms.h"
#include "reference/fft.h"
#include "support/side_by_side.h"

namespace arvessa::test {
namespace {

using Block = std::vector<Word32>;

Block randomBlock(Random& random, int n, int bits) {
  Block block(static_cast<std::size_t>(n));
  random.fill(block.data(), block.size(), bits);
  return block;
}

void expectSameTransforms(const Block& block, int n) {
  EXPECT_SAME(WVQE_FFT, Both(block), n, 0, 0, nullptr, nullptr, Both(block));
  EXPECT_SAME(WVQE_IFFT, Both(block), n, 0, 0, nullptr, nullptr, Both(block));
}

void expectSameParts(const Block& block, int n) {
  const int sel = n == 128 ? 0 : n == 256 ? 1 : 2;
  EXPECT_SAME(WVQE_Complex_FFT, Both(block), n);
  EXPECT_SAME(WVQE_Complex_IFFT, Both(block), n);
  EXPECT_SAME(VORN_NR_c_fft_rever_ASM, Both(block), Both(block), sel);
  EXPECT_SAME(VORN_NR_c_ifft_rever_ASM, Both(block), Both(block), sel);
  EXPECT_SAME(VORN_NR_r_fft_COP_ASM, Both(block), Both(block), sel);
  EXPECT_SAME(VORN_NR_r_ifft_COP_ASM, Both(block), Both(block), sel);
  // One of the two blocks holds the result, the other what the last stage but one left.
  const auto result = [&](auto stages) {
    return [=](Word32* a, Word32* b) {
      stages(a, b, 0, 0, sel);
      std::fill_n(sel == 1 ? b : a, n, 0);
    };
  };
#define EXPECT_SAME_RESULT(name) \
  expectSame(#name, result(::name), result(reference::name), Both(block), Both(block))
  EXPECT_SAME_RESULT(VORN_NR_c_fft_COP_ASM);
  EXPECT_SAME_RESULT(VORN_NR_c_ifft_COP_ASM);
}

// From no amplitude to full scale: also across the level from which sums can saturate.
TEST(FixedFft, EqualsTheReferenceAtEveryLevel) {
  enum Kind { kNoise, kEndsOfTheRange };  // at 31 bits every butterfly saturates
  Random random(6);
  forEach({kNoise, kEndsOfTheRange}, 1000, [&](Kind kind) {
    const int n = 128 << random.below(3);
    const int bits = random.below(32);
    Block block = randomBlock(random, n, bits);
    for (Word32& x : block) {
      if (kind == kEndsOfTheRange) x = (x < 0 ? kMin32 : kMax32) >> (31 - bits);
    }
    expectSameTransforms(block, n);
    expectSameParts(block, n);
  });
  // A size that there is not: unpacked as the smallest, transformed as the largest.
  expectSameTransforms(randomBlock(random, 512, 20), 200);
}

TEST(FixedFft, IsTheDftAndItsInverse) {
  for (const int n : {128, 256, 512}) {
    Random random(8);
    const Block samples = randomBlock(random, n, 24);
    Block work = samples, spectrum = samples, back = samples;
    WVQE_FFT(work.data(), n, 0, 0, nullptr, nullptr, spectrum.data());
    for (int bin = 0; bin <= n / 2; ++bin) {
      std::complex<double> exact = 0;
      for (int m = 0; m < n; ++m)
        exact += std::polar(2.0 / n, -2 * M_PI * bin * m / n) * double(samples[m]);
      const std::complex<double> got(bin == n / 2 ? spectrum[1] : spectrum[2 * bin],
                                     bin % (n / 2) == 0 ? 0 : spectrum[2 * bin + 1]);
      EXPECT_LT(std::abs(got - exact), 900) << "bin " << bin;
    }
    WVQE_IFFT(spectrum.data(), n, 0, 0, nullptr, nullptr, back.data());
    for (int i = 0; i < n; ++i) {
      EXPECT_NEAR(back[i], samples[i], 8e-4 * (1 << 24)) << "sample " << i;
    }
  }
}

// As another number of words counts as the largest.
TEST(FixedFft, AnotherSelectorCountsAsTheLargest) {
  Random random(13);
  Word32 block[512], got[512], want[512];
  random.fill(block, 512, 28);
  for (const int selector : {3, -1}) {
    VORN_NR_c_fft_rever_ASM(block, got, selector);
    VORN_NR_c_fft_rever_ASM(block, want, 2);
    expectSameArray(got, want, 512, "first stage");
  }
}

}  // namespace
}  // namespace arvessa::test
