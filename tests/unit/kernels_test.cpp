// SPDX-License-Identifier: Apache-2.0
// Every kernel of every form that this build has, against the plain form: random blocks of every size
// of words, blocks at both sides of every condition, and what bounds the result.
#include "kernels/kernels.h"

#include <algorithm>

#include "arithmetic/operators.h"
#include "noise_reduction/geometry.h"
#include "support/support.h"

namespace arvessa::test {
namespace {

using namespace kernels;

template <class Tuple>
struct AsTypes;
template <class... Forms>
struct AsTypes<std::tuple<Forms...>> {
  using Types = testing::Types<Forms...>;
};

// Sizes of words: all numbers of bits, and what lies beside the conditions of the kernels.
constexpr Word32 kPeaks[] = {0,          3,          0x3FFF,     0x3FFFFF,   0x400000,
                             0xFFFFFFF,  0x10000000, 0x1FFFFFFF, 0x20000000, 0x3FFFFFFF,
                             0x40000000, 0x7FFEFFFF, 0x7FFF0000, 0x7FFFFFFF};

struct Words {
  std::vector<Word32> words;
  UsedBits bits() const { return usedBits(words); }
  std::span<Word32> span() { return words; }
  std::span<const Word32> view() const { return words; }
};

// Words up to a peak in magnitude, which is there with both signs unless `positive`.
Words drawWords(Random& random, std::size_t n, Word32 peak, bool positive = false) {
  Words block{std::vector<Word32>(n)};
  for (Word32& x : block.words) {
    const int kind = random.below(8);
    x = kind == 0 ? peak : kind == 1 ? -peak - 1 : random.word32() & peak;
    if (kind > 4) x = -x;
    if (positive && x < 0) x = ~x;
  }
  return block;
}

std::vector<Word16> drawFactors(Random& random, std::size_t n, bool positive) {
  std::vector<Word16> factors(n);
  for (Word16& f : factors) {
    f = random.below(6) == 0 ? 32767 : random.below(6) == 0 ? -32768 : random.word16();
    if (positive && f < 0) f = ~f;
  }
  return factors;
}

template <class Form>
class Kernels : public testing::Test {
 protected:
  // Calls check(peak, size code) for all peaks, sizes and some rounds.
  template <class Check>
  void forEachPeak(Check check, int rounds = 12) {
    for (const Word32 peak : kPeaks) {
      for (int round = 0; round < rounds; ++round) {
        SCOPED_TRACE(testing::Message() << "peak " << peak << ", round " << round);
        check(peak, round % 3);
        if (HasFailure()) return;
      }
    }
  }
  // `bits`, as a kernel returned them, must bound the words that it wrote.
  static void expectBounded(UsedBits bits, std::span<const Word32> words) {
    EXPECT_EQ(std::bit_width(usedBits(words) | bits), std::bit_width(bits)) << "bound";
  }
  Random random{42};
};

struct FormName {
  template <class Form>
  static std::string GetName(int /*index*/) {
    return Form::kName;
  }
};
TYPED_TEST_SUITE(Kernels, AsTypes<kernels::Forms>::Types, FormName);

TYPED_TEST(Kernels, Multiply) {
  this->forEachPeak([&](Word32 peak, int size) {
    const std::size_t n = (104U << size) + this->random.below(4);
    Words got = drawWords(this->random, n, peak);
    Words want = got;
    const auto factors = drawFactors(this->random, n, true);
    const UsedBits bits = TypeParam::multiply({got.span(), got.bits()}, factors);
    Plain::multiply({want.span(), want.bits()}, factors);
    EXPECT_EQ(got.words, want.words);
    this->expectBounded(bits, got.view());
  });
}

TYPED_TEST(Kernels, Preemphasise) {
  this->forEachPeak([&](Word32 peak, int size) {
    const Words x = drawWords(this->random, 80U << size, peak);
    Words got = x, want = x;
    const Word32 previous = this->random.word32();
    const UsedBits bits = TypeParam::preemphasise({x.view(), x.bits()}, previous, got.span());
    Plain::preemphasise({x.view(), x.bits()}, previous, want.span());
    EXPECT_EQ(got.words, want.words);
    this->expectBounded(bits, got.view());
  });
}

// The spectrum of the pairs, too, which a transform leaves in its input.
TYPED_TEST(Kernels, ForwardTransform) {
  this->forEachPeak(
      [&](Word32 peak, int size) {
        const TransformTables tables = geometryOf(size).transform;
        Words got = drawWords(this->random, 128U << size, peak);
        if (this->random.below(3) == 0) std::fill(got.words.begin() + 2, got.words.end(), 0);
        Words want = got, gotSpectrum = got, wantSpectrum = got;
        const UsedBits bits =
            TypeParam::forwardTransform({got.span(), got.bits()}, tables, gotSpectrum.span());
        Plain::forwardTransform({want.span(), want.bits()}, tables, wantSpectrum.span());
        EXPECT_EQ(got.words, want.words);
        EXPECT_EQ(gotSpectrum.words, wantSpectrum.words);
        this->expectBounded(bits, gotSpectrum.view());
      },
      60);
}

TYPED_TEST(Kernels, InverseTransform) {
  this->forEachPeak(
      [&](Word32 peak, int size) {
        const TransformTables tables = geometryOf(size).transform;
        const std::size_t n = 128U << size;
        Words spectrum = drawWords(this->random, n, peak);
        // The sum of all magnitudes decides: few words may be as large as many are small.
        const std::size_t kept = n >> this->random.below(8);
        for (std::size_t i = 0; i < n; ++i) {
          if (static_cast<std::size_t>(this->random.below(n)) >= kept) spectrum.words[i] = 0;
        }
        Words got = spectrum, want = spectrum;
        TypeParam::inverseTransform({spectrum.view(), spectrum.bits()}, tables, got.span());
        Plain::inverseTransform({spectrum.view(), spectrum.bits()}, tables, want.span());
        EXPECT_EQ(got.words, want.words);
      },
      120);
}

TYPED_TEST(Kernels, Powers) {
  this->forEachPeak([&](Word32 peak, int size) {
    Words spectrum = drawWords(this->random, 128U << size, peak);
    if (peak == kMax32) spectrum.words[6] = spectrum.words[7] = kMin32;  // a sum of exactly 2^31
    Words got = drawWords(this->random, 64U << size, 0);
    Words want = got;
    const UsedBits bits = TypeParam::powers(spectrum.view(), got.span());
    Plain::powers(spectrum.view(), want.span());
    EXPECT_EQ(got.words, want.words);
    this->expectBounded(bits, got.view());
  });
}

TYPED_TEST(Kernels, SumIntoBands) {
  this->forEachPeak([&](Word32 peak, int size) {
    const Filterbank bank = geometryOf(size).bank;
    const std::size_t n = bank.lower.size() - (this->random.below(2) == 0 ? 0 : 3);
    const Words power = drawWords(this->random, n, peak, this->random.below(3) > 0);
    Word32 got[kBands], want[kBands];
    TypeParam::sumIntoBands({power.view(), power.bits()}, bank, got);
    Plain::sumIntoBands({power.view(), power.bits()}, bank, want);
    expectSameArray(got, want, "bands");
  });
}

// With the weights of the bank, and with any: sums beyond 1, products of -1 and -1.
TYPED_TEST(Kernels, SpreadToBins) {
  for (int round = 0; round < 400; ++round) {
    SCOPED_TRACE(round);
    Filterbank bank = geometryOf(round % 3).bank;
    const std::size_t n = bank.lower.size() - (round % 5 == 0 ? 2 : 0);
    const auto bands = drawFactors(this->random, kBands, round % 2 == 0);
    const auto lower = drawFactors(this->random, bank.lower.size(), round % 8 == 0);
    const auto upper = drawFactors(this->random, bank.lower.size(), round % 8 == 0);
    if (round % 4 == 0) bank = {bank.lower, bank.upper, lower, upper};
    std::vector<Word16> got(n), want(n);
    const std::span<const Word16, kBands> gains(bands.data(), kBands);
    TypeParam::spreadToBins(gains, bank, got);
    Plain::spreadToBins(gains, bank, want);
    ASSERT_EQ(got, want);
  }
}

TYPED_TEST(Kernels, SmoothPower) {
  this->forEachPeak([&](Word32 peak, int size) {
    const std::size_t n = (64U << size) - 2 * this->random.below(30);
    Words got = drawWords(this->random, n, peak, true);
    const Words power = drawWords(this->random, n, peak >> this->random.below(8), true);
    Words want = got;
    const UsedBits bits =
        TypeParam::smoothPower({got.span(), got.bits()}, {power.view(), power.bits()});
    Plain::smoothPower({want.span(), want.bits()}, {power.view(), power.bits()});
    EXPECT_EQ(got.words, want.words);
    this->expectBounded(bits, got.view());
  });
}

// Around the threshold of every bin.
TYPED_TEST(Kernels, FindActiveBins) {
  this->forEachPeak([&](Word32 peak, int size) {
    const std::size_t n = (64U << size) - (this->random.below(3) == 0 ? 2 : 0);
    const Words smooth = drawWords(this->random, n, peak, true);
    Words minimum = drawWords(this->random, n, peak, true);
    for (std::size_t k = 0; k < n; k += 2) {
      minimum.words[k] = static_cast<Word32>((std::int64_t{smooth.words[k]} * 10158 >> 15) - 20 +
                                             this->random.below(3) - 1);
    }
    std::vector<unsigned char> got(n, 7), want(n, 7);
    TypeParam::findActiveBins({smooth.view(), smooth.bits()}, {minimum.view(), minimum.bits()},
                              got);
    Plain::findActiveBins({smooth.view(), smooth.bits()}, {minimum.view(), minimum.bits()}, want);
    EXPECT_EQ(got, want);
  });
}

TYPED_TEST(Kernels, Sum) {
  this->forEachPeak([&](Word32 peak, int size) {
    const Words words = drawWords(this->random, 64U << size, peak, this->random.below(2) == 0);
    EXPECT_EQ(TypeParam::sum({words.view(), words.bits()}),
              Plain::sum({words.view(), words.bits()}));
    const Words many{std::vector<Word32>(this->random.below(2) == 0 ? 512 : 513, peak)};
    EXPECT_EQ(TypeParam::sum({many.view(), many.bits()}), Plain::sum({many.view(), many.bits()}));
  });
}

TYPED_TEST(Kernels, UpdateNoise) {
  this->forEachPeak(
      [&](Word32 peak, int size) {
        const std::size_t n = (64U << size) - (this->random.below(3) == 0 ? 2 : 0);
        Words got = drawWords(this->random, n, peak, this->random.below(2) == 0);
        Words power = drawWords(this->random, n, kPeaks[this->random.below(14)], true);
        for (std::size_t k = 0; k < n; k += 3) power.words[k] = (got.words[k] >> 7) - k % 2;
        std::vector<unsigned char> active(n);
        for (auto& flag : active) flag = static_cast<unsigned char>(this->random.below(2));
        Words want = got;
        const Word16 alpha = this->random.word16();
        const UsedBits bits = TypeParam::updateNoise({got.span(), got.bits()},
                                                     {power.view(), power.bits()}, active, alpha);
        Plain::updateNoise({want.span(), want.bits()}, {power.view(), power.bits()}, active, alpha);
        EXPECT_EQ(got.words, want.words);
        this->expectBounded(bits, got.view());
      },
      40);
}

TYPED_TEST(Kernels, ScaleBins) {
  this->forEachPeak([&](Word32 peak, int size) {
    const std::size_t n = (64U << size) - (this->random.below(3) == 0 ? 2 : 0);
    Words got = drawWords(this->random, 2 * n, peak);
    Words want = got;
    const auto gains = drawFactors(this->random, n, this->random.below(2) == 0);
    TypeParam::scaleBins({got.span(), got.bits()}, gains);
    Plain::scaleBins({want.span(), want.bits()}, gains);
    EXPECT_EQ(got.words, want.words);
  });
}

TYPED_TEST(Kernels, Deemphasise) {
  this->forEachPeak(
      [&](Word32 peak, int size) {
        const std::size_t n = (80U << size) + 2 * this->random.below(3);
        const Words x = drawWords(this->random, n, peak);
        Word32 memory[2];
        memory[0] = memory[1] = this->random.word32();
        std::vector<Word16> got(n), want(n);
        TypeParam::deemphasise({x.view(), x.bits()}, memory[0], got);
        Plain::deemphasise({x.view(), x.bits()}, memory[1], want);
        EXPECT_EQ(got, want);
        EXPECT_EQ(memory[0], memory[1]);
      },
      40);
}

// Memories far beyond what the filters produce, too.
TYPED_TEST(Kernels, BandSplitFilters) {
  struct Memory {
    Word16 x[3][kFilterOrder];
    Word32 y[3][kFilterOrder];
    FilterMemory of(int filter) { return {x[filter], y[filter]}; }
  };
  for (int round = 0; round < 60; ++round) {
    SCOPED_TRACE(round);
    Memory got;
    for (auto& filter : got.x)
      std::generate_n(filter, kFilterOrder, [&] { return this->random.word16(); });
    const int bits = round % 2 == 0 ? 31 : 20;
    for (auto& filter : got.y) this->random.fill(filter, kFilterOrder, bits);
    Memory want = got;
    const std::size_t n = round % 3 == 0 ? kMaxLowFrame : 1 + this->random.below(kMaxLowFrame);
    const auto in = drawFactors(this->random, 3 * n, false);
    std::vector<Word16> low[2], high[2], out[2];
    const auto run = [&](auto form, Memory& memory, int i) {
      using Form = decltype(form);
      low[i].resize(n);
      high[i].resize(3 * n);
      out[i].resize(3 * n);
      Form::lowPassAndDecimate(in, memory.of(0), low[i]);
      Form::highPass(in, memory.of(1), high[i]);
      std::copy(low[i].begin(), low[i].end(), out[i].begin());  // where the low band lies
      Form::interpolateAndAdd(std::span(out[i]).first(n), memory.of(2), high[i], out[i]);
    };
    run(TypeParam(), got, 0);
    run(Plain(), want, 1);
    ASSERT_EQ(low[0], low[1]);
    ASSERT_EQ(high[0], high[1]);
    ASSERT_EQ(out[0], out[1]);
    ASSERT_EQ(std::memcmp(&got, &want, sizeof got), 0) << "memories";
  }
}

TYPED_TEST(Kernels, PeakPowersAndAmplify) {
  for (int round = 0; round < 400; ++round) {
    SCOPED_TRACE(round);
    const std::size_t parts = 10U * (1 + round % 3);
    auto x = drawFactors(this->random, (round % 2 == 0 ? 8 : 16) * parts, false);
    for (Word16& sample : x) sample = static_cast<Word16>(sample >> round % 16);
    std::vector<Word32> got(parts), want(parts);
    TypeParam::peakPowers(x, got);
    Plain::peakPowers(x, want);
    ASSERT_EQ(got, want);
    x.resize(x.size() - round % 3);
    const Word32 gain = drawWords(this->random, 8, kPeaks[round % 14]).words[0];
    std::vector<Word16> y = x, wanted = x;
    TypeParam::amplify(x, gain, y);
    Plain::amplify(x, gain, wanted);
    ASSERT_EQ(y, wanted);
    TypeParam::amplify(x, gain, x);
    ASSERT_EQ(x, wanted) << "in place";
  }
}

}  // namespace
}  // namespace arvessa::test
