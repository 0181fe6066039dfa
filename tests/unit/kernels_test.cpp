// SPDX-License-Identifier: Apache-2.0
// Every kernel of every form that this build has, against the plain form: random blocks of every size
// of words, blocks at both sides of every condition, and what bounds the result.
#include "kernels/kernels.h"

#include <algorithm>

#include "arithmetic/operators.h"
#include "noise_reduction/geometry.h"
#include "unit/forms.h"

namespace arvessa::test {
namespace {

using namespace kernels;

// Sizes of words: all numbers of bits, and what lies beside the conditions of the kernels.
constexpr Word32 kPeaks[] = {0,          3,          0x3FFF,     0x3FFFFF,   0x400000,
                             0xFFFFFFF,  0x10000000, 0x1FFFFFFF, 0x20000000, 0x3FFFFFFF,
                             0x40000000, 0x7FFEFFFF, 0x7FFF0000, 0x7FFFFFFF};

// A block, whose words say how large they are.
struct Words : std::vector<Word32> {
  using vector::vector;
  operator Block() { return {*this, usedBits(*this)}; }
  operator ConstBlock() const { return {*this, usedBits(*this)}; }
};
using Halves = std::vector<Word16>;
using Flags = std::vector<unsigned char>;

template <class Form>
class Kernels : public testing::Test {
 protected:
  // Calls check(peak, size code) for all peaks, sizes and some rounds.
  template <class Check>
  static void forEachPeak(Check check, int rounds = 4) {
    for (const Word32 peak : kPeaks) {
      SCOPED_TRACE(testing::Message() << "peak " << peak);
      forEach({0, 1, 2}, rounds, [&](int size) { check(peak, size); });
    }
  }

  // Calls run(form, arrays...) with this form and with the plain one, each with its own copies: the
  // arrays must be the same afterwards, and so must be the result, unless it is a bound of the last
  // array.
  template <class Run, class... Arrays>
  static void expectSame(Run run, const Arrays&... arrays) {
    std::tuple<Arrays...> got{arrays...}, want{arrays...};
    const auto call = [&](auto form, auto& with) {
      return std::apply([&](auto&... array) { return run(form, array...); }, with);
    };
    using Result = decltype(call(Form(), got));
    if constexpr (std::is_void_v<Result>) {
      call(Form(), got);
      call(Plain(), want);
    } else {
      const Result result = call(Form(), got);
      const Result wanted = call(Plain(), want);
      if constexpr (std::is_same_v<Result, UsedBits>) {
        const Words& written = std::get<sizeof...(Arrays) - 1>(got);
        EXPECT_EQ(std::bit_width(usedBits(written) | result), std::bit_width(result)) << "bound";
      } else {
        EXPECT_EQ(result, wanted);
      }
    }
    EXPECT_EQ(got, want);
  }

  // Words up to a peak in magnitude, which is there with both signs unless `positive`.
  Words words(std::size_t n, Word32 peak, bool positive = false) {
    Words block(n);
    for (Word32& x : block) {
      const int kind = random.below(8);
      x = kind == 0 ? peak : kind == 1 ? -peak - 1 : random.word32() & peak;
      if (kind > 4) x = -x;
      if (positive && x < 0) x = ~x;
    }
    return block;
  }
  Halves factors(std::size_t n, bool positive = false) {
    Halves factors(n);
    for (Word16& f : factors) {
      f = random.below(6) == 0 ? 32767 : random.below(6) == 0 ? -32768 : random.word16();
      if (positive && f < 0) f = ~f;
    }
    return factors;
  }
  bool often() { return random.below(2) == 0; }
  // All bins of a size code, or two less.
  std::size_t bins(int size) { return (64U << size) - (random.below(3) == 0 ? 2 : 0); }

  Random random{42};
};
TYPED_TEST_SUITE(Kernels, AsTypes<Backends>::Types, FormName);

TYPED_TEST(Kernels, Multiply) {
  this->forEachPeak([&](Word32 peak, int size) {
    const std::size_t n = (104U << size) + this->random.below(4);
    const Halves window = this->factors(n, true);
    this->expectSame([&](auto form, Words& x) { return form.multiply(x, window); },
                     this->words(n, peak));
  });
}

TYPED_TEST(Kernels, Preemphasise) {
  this->forEachPeak([&](Word32 peak, int size) {
    const Words x = this->words(80U << size, peak);
    const Word32 previous = this->random.word32();
    this->expectSame([&](auto form, Words& out) { return form.preemphasise(x, previous, out); }, x);
  });
}

// The spectrum of the pairs, too, which a transform leaves in its input.
TYPED_TEST(Kernels, ForwardTransform) {
  this->forEachPeak(
      [&](Word32 peak, int size) {
        const TransformTables tables = geometryOf(size).transform;
        Words x = this->words(128U << size, peak);
        if (this->random.below(3) == 0) std::fill(x.begin() + 2, x.end(), 0);
        this->expectSame(
            [&](auto form, Words& pairs, Words& spectrum) {
              return form.forwardTransform(pairs, tables, spectrum);
            },
            x, x);
      },
      20);
}

// The sum of all magnitudes decides: few words may be as large as many are small.
TYPED_TEST(Kernels, InverseTransform) {
  this->forEachPeak(
      [&](Word32 peak, int size) {
        const TransformTables tables = geometryOf(size).transform;
        Words x = this->words(128U << size, peak);
        const int kept = static_cast<int>(x.size()) >> this->random.below(8);
        for (Word32& word : x) {
          if (this->random.below(static_cast<int>(x.size())) >= kept) word = 0;
        }
        this->expectSame([&](auto form, Words& out) { form.inverseTransform(x, tables, out); }, x);
      },
      40);
}

TYPED_TEST(Kernels, Powers) {
  this->forEachPeak([&](Word32 peak, int size) {
    Words spectrum = this->words(128U << size, peak);
    if (peak == kMax32) spectrum[6] = spectrum[7] = kMin32;  // a sum of exactly 2^31
    this->expectSame([&](auto form, Words& power) { return form.powers(spectrum, power); },
                     Words(64U << size));
  });
}

TYPED_TEST(Kernels, SumIntoBands) {
  this->forEachPeak([&](Word32 peak, int size) {
    const Filterbank bank = geometryOf(size).bank;
    const Words power = this->words((64U << size) - (this->often() ? 0 : 3), peak, this->often());
    this->expectSame(
        [&](auto form, Words& bands) {
          form.sumIntoBands(power, bank, std::span<Word32, kBands>(bands));
        },
        Words(kBands));
  });
}

// With the weights of the bank, and with any: sums beyond 1, products of -1 and -1.
TYPED_TEST(Kernels, SpreadToBins) {
  enum Kind { kWeightsOfTheBank, kPositiveWeights, kAnyWeights };
  forEach({kWeightsOfTheBank, kPositiveWeights, kAnyWeights}, 200, [&](Kind kind) {
    const int size = this->random.below(3);
    Filterbank bank = geometryOf(size).bank;
    const Halves bands = this->factors(kBands, this->often());
    const Halves lower = this->factors(64U << size, kind == kPositiveWeights);
    const Halves upper = this->factors(64U << size, kind == kPositiveWeights);
    if (kind != kWeightsOfTheBank) bank = {bank.lower, bank.upper, lower, upper};
    this->expectSame(
        [&](auto form, Halves& out) {
          form.spreadToBins(std::span<const Word16, kBands>(bands), bank, out);
        },
        Halves(this->bins(size)));
  });
}

TYPED_TEST(Kernels, SmoothPower) {
  this->forEachPeak([&](Word32 peak, int size) {
    const std::size_t n = (64U << size) - 2 * this->random.below(30);
    const Words power = this->words(n, peak >> this->random.below(8), true);
    this->expectSame([&](auto form, Words& smooth) { return form.smoothPower(smooth, power); },
                     this->words(n, peak, true));
  });
}

// Around the threshold of every bin.
TYPED_TEST(Kernels, FindActiveBins) {
  this->forEachPeak([&](Word32 peak, int size) {
    const Words smooth = this->words(this->bins(size), peak, true);
    Words minimum = this->words(smooth.size(), peak, true);
    for (std::size_t k = 0; k < smooth.size(); k += 2) {
      minimum[k] = static_cast<Word32>((std::int64_t{smooth[k]} * 10158 >> 15) - 20 +
                                       this->random.below(3) - 1);
    }
    this->expectSame(
        [&](auto form, Flags& active) { form.findActiveBins(smooth, minimum, active); },
        Flags(smooth.size(), 7));
  });
}

TYPED_TEST(Kernels, Sum) {
  this->forEachPeak([&](Word32 peak, int size) {
    const auto sum = [](auto form, const Words& words) { return form.sum(words); };
    this->expectSame(sum, this->words(64U << size, peak, this->often()));
    this->expectSame(sum, Words(this->often() ? 512 : 513, peak));
  });
}

TYPED_TEST(Kernels, UpdateNoise) {
  this->forEachPeak(
      [&](Word32 peak, int size) {
        const Words noise = this->words(this->bins(size), peak, this->often());
        Words power = this->words(noise.size(), kPeaks[this->random.below(14)], true);
        for (std::size_t k = 0; k < noise.size(); k += 3) power[k] = (noise[k] >> 7) - k % 2;
        Flags active(noise.size());
        for (auto& flag : active) flag = this->often() ? 1 : 0;
        const Word16 alpha = this->random.word16();
        this->expectSame(
            [&](auto form, Words& x) { return form.updateNoise(x, power, active, alpha); }, noise);
      },
      14);
}

TYPED_TEST(Kernels, ScaleBins) {
  this->forEachPeak([&](Word32 peak, int size) {
    const Halves gains = this->factors(this->bins(size), this->often());
    this->expectSame([&](auto form, Words& spectrum) { form.scaleBins(spectrum, gains); },
                     this->words(2 * gains.size(), peak));
  });
}

TYPED_TEST(Kernels, Deemphasise) {
  this->forEachPeak(
      [&](Word32 peak, int size) {
        const Words x = this->words((80U << size) + 2 * this->random.below(3), peak);
        this->expectSame(
            [&](auto form, Words& memory, Halves& out) { form.deemphasise(x, memory[0], out); },
            Words(1, this->random.word32()), Halves(x.size()));
      },
      14);
}

// Memories far beyond what the filters produce, too.
TYPED_TEST(Kernels, BandSplitFilters) {
  const auto memory = [](Halves& x, Words& y) {
    return FilterMemory{std::span<Word16, kFilterOrder>(x), std::span<Word32, kFilterOrder>(y)};
  };
  forEach({0xFFFFF, kMax32}, 30, [&](Word32 peak) {
    const std::size_t n = this->often() ? kMaxLowFrame : 1 + this->random.below(kMaxLowFrame);
    const Halves in = this->factors(3 * n), low = this->factors(n);
    const auto filter = [&](auto run, std::size_t samples) {
      this->expectSame(
          [&](auto form, Halves& x, Words& y, Halves& out) { run(form, memory(x, y), out); },
          this->factors(kFilterOrder), this->words(kFilterOrder, peak), Halves(samples));
    };
    filter([&](auto form, auto of, auto& out) { form.lowPassAndDecimate(in, of, out); }, n);
    filter([&](auto form, auto of, auto& out) { form.highPass(in, of, out); }, 3 * n);
    filter(
        [&](auto form, auto of, auto& out) {
          std::copy(low.begin(), low.end(), out.begin());  // where the low band lies
          form.interpolateAndAdd(std::span(out).first(n), of, in, out);
        },
        3 * n);
  });
}

TYPED_TEST(Kernels, PeakPowersAndAmplify) {
  forEach({1, 2, 3}, 140, [&](int size) {
    const std::size_t parts = 10U * size;
    Halves x = this->factors((this->often() ? 8 : 16) * parts);
    const int shift = this->random.below(16);
    for (Word16& sample : x) sample = static_cast<Word16>(sample >> shift);
    this->expectSame([&](auto form, Words& peaks) { form.peakPowers(x, peaks); }, Words(parts));
    x.resize(x.size() - this->random.below(3));
    const Word32 gain = this->words(8, kPeaks[this->random.below(14)])[0];
    this->expectSame([&](auto form, Halves& y) { form.amplify(x, gain, y); }, Halves(x.size()));
    this->expectSame([&](auto form, Halves& y) { form.amplify(y, gain, y); }, x);
  });
}

}  // namespace
}  // namespace arvessa::test
