// SPDX-License-Identifier: Apache-2.0
// The fixed-point transform: bit for bit against the reference at every level, full scale included,
// and against a DFT in double precision.
#include <algorithm>
#include <cmath>
#include <complex>

#include "abi/exported_transforms.h"
#include "reference/fft.h"
#include "support/support.h"

namespace arvessa::test {
namespace {

using Block = std::vector<Word32>;

Block randomBlock(Random& random, int n, int bits) {
  Block block(static_cast<std::size_t>(n));
  random.fill(block.data(), block.size(), bits);
  return block;
}

enum Kind {
  kNoise,
  kEndsOfTheRange,  // at 31 bits every butterfly saturates
  kSameWords,       // in some of every four: all that is there adds up in few places
  kOneWord          // which can double in the split step
};

Block drawBlock(Kind kind, Random& random, int n, int bits) {
  Block block = randomBlock(random, n, bits);
  const auto highest = static_cast<Word32>((std::int64_t{1} << bits) - 1);
  const Word32 level = highest - random.below(highest / 2 + 1);
  const int words = random.below(16);
  const int only = random.below(n);
  for (int i = 0; i < n; ++i) {
    Word32& x = block[static_cast<std::size_t>(i)];
    if (kind == kEndsOfTheRange) x = x < 0 ? -highest - 1 : highest;
    if (kind == kSameWords) x = (words >> i % 4) % 2 * level;
    if (kind == kOneWord) x = i == only ? level : 0;
  }
  return block;
}

Block forward(Block samples, int n) {
  Block out(samples.size());
  WVQE_FFT(samples.data(), n, 0, 0, nullptr, nullptr, out.data());
  return out;
}

Block inverse(const Block& spectrum, int n) {
  Block out(spectrum.size());
  WVQE_IFFT(spectrum.data(), n, 0, 0, nullptr, nullptr, out.data());
  return out;
}

// Calls a function of the library and its reference with copies of the block and with outputs.
template <class Library, class Reference, class Call>
void expectSame(const char* name, const Block& block, Library library, Reference reference,
                Call call) {
  Block got = block, want = block, gotOut(block.size()), wantOut(block.size());
  call(library, got.data(), gotOut.data());
  call(reference, want.data(), wantOut.data());
  EXPECT_EQ(got, want) << name;
  EXPECT_EQ(gotOut, wantOut) << name;
}
#define EXPECT_SAME(name, call) expectSame(#name, block, ::name, reference::name, call)

void expectSameTransforms(const Block& block, int n) {
  const auto whole = [&](auto f, auto* x, auto* out) { f(x, n, 0, 0, nullptr, nullptr, out); };
  EXPECT_SAME(WVQE_FFT, whole);
  EXPECT_SAME(WVQE_IFFT, whole);
}

void expectSameParts(const Block& block, int n) {
  const int sel = n == 128 ? 0 : n == 256 ? 1 : 2;
  const auto inPlace = [&](auto f, auto* x, auto*) { f(x, n); };
  const auto stage = [&](auto f, auto* x, auto* out) { f(x, out, sel); };
  // One of the two blocks holds the result, the other what the last stage but one left.
  const auto stages = [&](auto f, auto* x, auto* out) {
    f(x, out, 0, 0, sel);
    std::fill_n(sel == 1 ? out : x, n, 0);
  };
  EXPECT_SAME(WVQE_Complex_FFT, inPlace);
  EXPECT_SAME(WVQE_Complex_IFFT, inPlace);
  EXPECT_SAME(VORN_NR_c_fft_rever_ASM, stage);
  EXPECT_SAME(VORN_NR_c_ifft_rever_ASM, stage);
  EXPECT_SAME(VORN_NR_r_fft_COP_ASM, stage);
  EXPECT_SAME(VORN_NR_r_ifft_COP_ASM, stage);
  EXPECT_SAME(VORN_NR_c_fft_COP_ASM, stages);
  EXPECT_SAME(VORN_NR_c_ifft_COP_ASM, stages);
}

class FixedFft : public testing::TestWithParam<int> {};

// From no amplitude to full scale: also across the level from which sums can saturate.
TEST_P(FixedFft, EqualsTheReferenceAtEveryLevel) {
  const int n = GetParam();
  Random random(6);
  for (const Kind kind : {kNoise, kEndsOfTheRange, kSameWords, kOneWord}) {
    for (int bits = 0; bits < 32; ++bits) {
      for (int round = 0; round < 8; ++round) {
        SCOPED_TRACE(testing::Message() << "kind " << kind << ", " << bits << " bits");
        const Block block = drawBlock(kind, random, n, bits);
        expectSameTransforms(block, n);
        expectSameParts(block, n);
        if (HasFailure()) return;
      }
    }
  }
}

TEST_P(FixedFft, IsTheDftAndItsInverse) {
  const int n = GetParam();
  Random random(8);
  const Block samples = randomBlock(random, n, 24);
  const Block spectrum = forward(samples, n);
  for (int bin = 0; bin <= n / 2; ++bin) {
    std::complex<double> exact = 0;
    for (int m = 0; m < n; ++m)
      exact += std::polar(2.0 / n, -2 * M_PI * bin * m / n) * double(samples[m]);
    const std::complex<double> got(bin == n / 2 ? spectrum[1] : spectrum[2 * bin],
                                   bin % (n / 2) == 0 ? 0 : spectrum[2 * bin + 1]);
    EXPECT_LT(std::abs(got - exact), 900) << "bin " << bin;
  }
  const Block back = inverse(spectrum, n);
  for (std::size_t i = 0; i < back.size(); ++i) {
    EXPECT_NEAR(back[i], samples[i], 8e-4 * (1 << 24)) << "sample " << i;
  }
}

INSTANTIATE_TEST_SUITE_P(Sizes, FixedFft, testing::Values(128, 256, 512));

// A size that there is not: unpacked as the smallest, transformed as the largest.
TEST(FixedFft, EqualsTheReferenceAtOtherSizes) {
  Random random(9);
  expectSameTransforms(randomBlock(random, 512, 20), 200);
}

}  // namespace
}  // namespace arvessa::test
