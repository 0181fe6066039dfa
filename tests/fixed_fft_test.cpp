// The fixed-point transform: bit for bit against the model at every level, full scale included, and
// against a DFT in double precision.
#include "engine/fixed_fft.h"

#include <algorithm>
#include <cmath>
#include <complex>

#include "model_fft.h"
#include "support.h"

namespace arvessa::test {
namespace {

using Block = std::vector<Word32>;

Block randomBlock(Random& random, int n, int bits) {
  Block block(static_cast<std::size_t>(n));
  random.fill(block.data(), block.size(), bits);
  const auto highest = static_cast<Word32>((std::int64_t{1} << bits) - 1);
  const int kind = random.below(4);
  // The ends of the range: at 31 bits every butterfly saturates.
  if (kind == 0) {
    for (Word32& x : block) x = x < 0 ? -highest - 1 : highest;
  }
  // In some of every four words the same: all that is there adds up in few places.
  const int words = random.below(16);
  const Word32 level = highest - random.below(highest / 2 + 1);
  if (kind == 1) {
    for (std::size_t i = 0; i < block.size(); ++i) block[i] = (words >> i % 4) % 2 * level;
  }
  // A single word, which can double in the split step.
  if (kind == 2) {
    std::fill(block.begin(), block.end(), 0);
    block[static_cast<std::size_t>(random.below(n))] = level;
  }
  return block;
}

Block forward(Block samples) {
  const auto n = static_cast<Word16>(samples.size());
  Block out(samples.size());
  WVQE_FFT(samples.data(), n, 0, 0, nullptr, nullptr, out.data());
  return out;
}

Block inverse(const Block& spectrum) {
  const auto n = static_cast<Word16>(spectrum.size());
  Block out(spectrum.size());
  WVQE_IFFT(spectrum.data(), n, 0, 0, nullptr, nullptr, out.data());
  return out;
}

class FixedFft : public testing::TestWithParam<int> {};

// From no amplitude to full scale: also across the level from which sums can saturate.
TEST_P(FixedFft, EqualsTheModelAtEveryLevel) {
  const auto n = static_cast<Word16>(GetParam());
  Random random(6);
  for (int round = 0; round < 960; ++round) {
    const Block block = randomBlock(random, n, round % 32);
    Block got = block;
    Block want = block;
    Block gotOut(block.size());
    Block wantOut(block.size());
    WVQE_FFT(got.data(), n, 0, 0, nullptr, nullptr, gotOut.data());
    model::WVQE_FFT(want.data(), n, 0, 0, nullptr, nullptr, wantOut.data());
    ASSERT_EQ(got, want) << "spectrum of the pairs, " << round % 32 << " bits";
    ASSERT_EQ(gotOut, wantOut) << "forward, " << round % 32 << " bits";

    got = inverse(block);
    want = block;
    model::WVQE_IFFT(want.data(), n, 0, 0, nullptr, nullptr, wantOut.data());
    ASSERT_EQ(got, wantOut) << "inverse, " << round % 32 << " bits";

    got = want = block;
    WVQE_Complex_FFT(got.data(), n);
    model::WVQE_Complex_FFT(want.data(), n);
    ASSERT_EQ(got, want) << "complex forward, " << round % 32 << " bits";
    WVQE_Complex_IFFT(got.data(), n);
    model::WVQE_Complex_IFFT(want.data(), n);
    ASSERT_EQ(got, want) << "complex inverse, " << round % 32 << " bits";
  }
}

TEST_P(FixedFft, KernelsEqualTheModel) {
  const int n = GetParam();
  const int sel = n == 128 ? 0 : n == 256 ? 1 : 2;
  Random random(7);
  for (int round = 0; round < 100; ++round) {
    const Block source = randomBlock(random, n, 31 - round % 5);
    const auto check = [&](const char* name, auto library, auto model) {
      Block got(source.size(), 1);
      Block want(source.size(), 1);
      library(source.data(), got.data(), sel);
      model(source.data(), want.data(), sel);
      EXPECT_EQ(got, want) << name;
    };
    const auto checkStages = [&](const char* name, auto library, auto model) {
      Block gotA = source;
      Block wantA = source;
      Block gotB(source.size());
      Block wantB(source.size());
      library(gotA.data(), gotB.data(), 0, 0, sel);
      model(wantA.data(), wantB.data(), 0, 0, sel);
      EXPECT_EQ(sel == 1 ? gotA : gotB, sel == 1 ? wantA : wantB) << name;
    };
    check("fft_rever", VORN_NR_c_fft_rever_ASM, model::VORN_NR_c_fft_rever_ASM);
    check("ifft_rever", VORN_NR_c_ifft_rever_ASM, model::VORN_NR_c_ifft_rever_ASM);
    check("r_fft", VORN_NR_r_fft_COP_ASM, model::VORN_NR_r_fft_COP_ASM);
    check("r_ifft", VORN_NR_r_ifft_COP_ASM, model::VORN_NR_r_ifft_COP_ASM);
    checkStages("fft_COP", VORN_NR_c_fft_COP_ASM, model::VORN_NR_c_fft_COP_ASM);
    checkStages("ifft_COP", VORN_NR_c_ifft_COP_ASM, model::VORN_NR_c_ifft_COP_ASM);
  }
}

TEST_P(FixedFft, IsTheDftAndItsInverse) {
  const int n = GetParam();
  Random random(8);
  Block samples(static_cast<std::size_t>(n));
  random.fill(samples.data(), samples.size(), 24);
  const Block spectrum = forward(samples);
  for (int bin = 0; bin <= n / 2; ++bin) {
    std::complex<double> exact = 0;
    for (int m = 0; m < n; ++m) {
      exact += std::polar(1.0, -2 * M_PI * bin * m / n) *
               static_cast<double>(samples[static_cast<std::size_t>(m)]);
    }
    exact /= n / 2.0;
    const auto at = [&](int i) {
      return static_cast<double>(spectrum[static_cast<std::size_t>(i)]);
    };
    const std::complex<double> got = bin == 0       ? at(0)
                                     : bin == n / 2 ? at(1)
                                                    : std::complex(at(2 * bin), at(2 * bin + 1));
    EXPECT_LT(std::abs(got - exact), 900) << "bin " << bin;
  }
  const Block back = inverse(spectrum);
  for (std::size_t i = 0; i < back.size(); ++i) {
    EXPECT_NEAR(back[i], samples[i], 8e-4 * (1 << 24)) << "sample " << i;
  }
}

INSTANTIATE_TEST_SUITE_P(Sizes, FixedFft, testing::Values(128, 256, 512));

TEST(FixedFft, Landmarks) {
  const Block constant = forward(Block(128, 1000000));
  EXPECT_EQ(constant[0], 1999808);
  EXPECT_EQ(constant[1], 0);
  for (std::size_t i = 2; i < 128; ++i) EXPECT_LE(std::abs(constant[i]), 20);
  Block alternating(128);
  for (std::size_t i = 0; i < 128; ++i) alternating[i] = i % 2 == 0 ? 1000000 : -1000000;
  EXPECT_EQ(forward(alternating)[0], -6);
  EXPECT_EQ(forward(alternating)[1], 1999814);
  EXPECT_EQ(forward(Block(256)), Block(256));
  EXPECT_EQ(inverse(Block(512)), Block(512));
}

// A size that there is not: unpacked as the smallest, transformed as the largest.
TEST(FixedFft, OtherSizes) {
  Random random(9);
  Block x = randomBlock(random, 512, 20);
  Block got(512);
  Block want(512);
  WVQE_IFFT(x.data(), 200, 0, 0, nullptr, nullptr, got.data());
  model::WVQE_IFFT(x.data(), 200, 0, 0, nullptr, nullptr, want.data());
  EXPECT_EQ(got, want);
  Block y = x;
  WVQE_FFT(x.data(), 200, 0, 0, nullptr, nullptr, got.data());
  model::WVQE_FFT(y.data(), 200, 0, 0, nullptr, nullptr, want.data());
  EXPECT_EQ(got, want);
}

}  // namespace
}  // namespace arvessa::test
