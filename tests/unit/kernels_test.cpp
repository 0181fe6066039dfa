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
constexpr Word32 kPeaks[] = {0,          3,          0x3FFF,     0x1FFFFF,   0x200000,
                             0x3FFFFF,   0x400000,   0x7FFFFF,   0x800000,   0xFFFFFFF,
                             0x10000000, 0x1FFFFFFF, 0x20000000, 0x3FFFFFFF, 0x40000000,
                             0x5FFFFFFF, 0x7FFEFFFF, 0x7FFF0000, 0x7FFFFFFF};

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
  static void forEachPeak(Check check) {
    for (const Word32 peak : kPeaks) {
      SCOPED_TRACE(testing::Message() << "peak " << peak);
      forEach({0, 1, 2}, 40, [&](int size) { check(peak, size); });
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
      if (kind > 4) x = ~x;
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
  Random random{42};
};
TYPED_TEST_SUITE(Kernels, AsTypes<kernels::Forms>::Types, FormName);

TYPED_TEST(Kernels, OfTheAnalysisEqualThePlainOnes) {
  this->forEachPeak([&](Word32 peak, int size) {
    const Geometry g = geometryOf(size);
    const Halves window = this->factors((104U << size) + this->random.below(4), true);
    this->expectSame([&](auto form, Words& x) { return form.multiply(x, window); },
                     this->words(window.size(), peak));

    Halves samples = this->factors(80U << size);
    for (Word16& sample : samples) sample = static_cast<Word16>(sample & (peak >> 16 | 1));
    if (this->random.below(8) == 0) samples[5] = kMin16;
    const auto headroom = static_cast<Word16>(this->random.below(31));
    this->expectSame(
        [&](auto form, Words& exponent, Words& words) {
          const Block block = form.normaliseSamples(samples, headroom, words);
          exponent[0] = block.exponent;
          return block.bits;
        },
        Words(1), Words(samples.size() + 8));
    this->expectSame(
        [&](auto form, Words& exponent, Words& words) {
          const Block block = form.normalise(words, headroom);
          exponent = {block.exponent, static_cast<Word32>(form.bitsOf(words))};
          return block.bits;
        },
        Words(), this->words(g.bins - this->random.below(3), peak));

    const Words frame = this->words(80U << size, peak);
    const Word32 previous = this->random.word32();
    this->expectSame([&](auto form, Words& out) { return form.preemphasise(frame, previous, out); },
                     frame);

    const bool few = this->random.below(3) == 0;
    Words block = this->words(2 * g.bins, peak);
    if (few) std::fill(block.begin() + 2, block.end(), 0);
    this->expectSame(
        [&](auto form, Words& out) {
          Words x = block;
          return form.forwardTransform(x, g.transform, out);
        },
        block);

    Words spectrum = this->words(2 * g.bins, peak);
    if (peak == kMax32) spectrum[6] = spectrum[7] = kMin32;  // a sum of exactly 2^31
    const auto exponent = static_cast<Word16>(this->random.from(-20, 33));
    this->expectSame(
        [&](auto form, Words& power) {
          return form.powers(Block{spectrum, kAllBits, exponent}, power);
        },
        Words(g.bins));

    const Words power = this->words(g.bins, peak, this->often());
    this->expectSame(
        [&](auto form, Words& bands) {
          form.sumIntoBands(power, g.bank, std::span<Word32, kBands>(bands));
        },
        Words(kBands));
  });
}

// Also of what no frame leaves: negative words.
TYPED_TEST(Kernels, OfTheNoiseEstimateEqualThePlainOnes) {
  this->forEachPeak([&](Word32 peak, int size) {
    const std::size_t n = (64U << size) - (this->often() ? 0 : 2 * this->random.below(30));
    const bool positive = this->random.below(4) != 0;
    Words power = this->words(n, kPeaks[this->random.below(std::size(kPeaks))], true);
    const Words smooth = this->words(n, peak, positive), noise = this->words(n, peak, positive);
    Words minimum = this->words(n, peak, positive);
    Words smoothed = smooth;
    kernels::smoothPower(smoothed, power);
    for (std::size_t k = 0; k < n; k += 2) {  // around the threshold of the bin
      minimum[k] = static_cast<Word32>((std::int64_t{smoothed[k]} * 10158 >> 15) - 20 +
                                       this->random.below(3) - 1);
      if (positive && minimum[k] < 0) minimum[k] = 0;
    }
    for (std::size_t k = 0; k < n; k += 3) {  // and of the noise
      if (power[k] < 0x1000000) power[k] = (noise[k] >> 7) - (noise[k] > 127 ? k % 2 : 0);
    }
    const Word16 alpha = this->random.from(0, 32767);
    this->expectSame(
        [&](auto form, Words& s, Words& m, Words& window, Flags& active, Words& totals, Words& d) {
          const ConstBlock block(power, usedBits(power));
          const NoiseTotals t = form.trackNoise(block, {window, m, s, d}, alpha, active);
          totals = {t.smooth, t.minimum};
          return t.noiseBits;
        },
        smooth, minimum, this->words(n, peak, positive), Flags(n, 7), Words(), noise);
  });
}

// Within the ranges of frames, at their ends and outside; powers around where quotients are reduced.
TYPED_TEST(Kernels, OfTheBandsEqualThePlainOnes) {
  constexpr Word32 kDivisors[] = {0x7FFF, 0x8000, 0x7FFFF, 0x80000, 0x7FFFFF, 0x800000, 0x7FFFFFFF};
  const auto halves = [&](Word16 least, Word16 most) {
    Halves drawn(kBands);
    for (Word16& x : drawn) x = this->random.below(9) == 0 ? most : this->random.from(least, most);
    if (this->random.below(20) == 0) drawn[this->random.below(kBands)] = this->random.word16();
    return drawn;
  };
  const auto powers = [&](int bits, Word32 offset) {
    Words drawn(kBands);
    const int level = this->random.below(bits);
    for (Word32& x : drawn) {
      const int kind = this->random.below(4);
      const Word32 edge = kDivisors[this->random.below(std::size(kDivisors))] - offset;
      x = kind == 0 ? edge >> (31 - bits) : kind == 1 ? 0 : this->random.magnitude(1 + level);
    }
    if (this->random.below(20) == 0) drawn[this->random.below(kBands)] = this->random.word32();
    return drawn;
  };
  const auto bands = [](auto& array) { return std::span(array).template first<kBands>(); };
  forEach({0, 1, 2}, 4000, [&](int offset) {
    const Words frame = powers(31, offset);
    Words noise = powers(31, 0);
    for (std::size_t b = 0; b < kBands; b += 2) {
      noise[b] = (kDivisors[this->random.below(6)] - 1 - offset) << (this->often() ? 7 : 0);
    }
    const Words speech = powers(30, offset);
    this->expectSame(
        [&](auto form, Halves& posterior, Halves& prior) {
          form.estimateSnr({bands(frame), bands(noise)}, bands(speech),
                           {bands(posterior), bands(prior)});
        },
        Halves(kBands), Halves(kBands));

    const Halves posterior = halves(-256, 25600), prior = halves(0, 25600);
    const Halves smooth = halves(0, 25600);
    const Word16 global = this->random.from(4020, 32767);
    this->expectSame(
        [&](auto form, Words& clean, Halves& gain, Halves& probability) {
          form.gainsUnderPresence({bands(posterior), bands(prior)}, bands(frame), bands(smooth),
                                  global, bands(clean), {bands(gain), bands(probability)});
        },
        speech, Halves(kBands), Halves(kBands));

    const Halves probability = halves(0, 32767);
    const Word16 floorGain = this->random.from(-1, 32767);
    this->expectSame(
        [&](auto form, Halves& gain, Halves& out) {
          form.mixWithFloor(bands(noise), floorGain, bands(probability), bands(gain), bands(out));
        },
        halves(0, 32767), Halves(kBands));
  });
}

// Gains with the weights of the bank, and with any: sums beyond 1, products of -1 and -1.
TYPED_TEST(Kernels, OfTheSynthesisEqualThePlainOnes) {
  this->forEachPeak([&](Word32 peak, int size) {
    const Geometry g = geometryOf(size);
    const Halves bands = this->factors(kBands, this->often());
    const bool positive = this->often();
    const Halves lower = this->factors(g.bins, positive), upper = this->factors(g.bins, positive);
    const Filterbank anyWeights = {g.bank.lower, g.bank.upper, lower, upper, nullptr};
    const Filterbank& bank = this->often() ? g.bank : anyWeights;
    this->expectSame(
        [&](auto form, Halves& out) {
          form.spreadToBins(std::span<const Word16, kBands>(bands), bank, out);
        },
        Halves(g.bins - (this->often() ? 0 : 2)));

    const Halves gains = this->factors(g.bins - (this->often() ? 0 : 2), true);
    this->expectSame([&](auto form, Words& spectrum) { form.scaleBins(spectrum, gains); },
                     this->words(2 * gains.size(), peak));

    // The sum of all magnitudes decides: few words may be as large as many are small.
    Words sparse = this->often() ? Words(2 * g.bins, peak) : this->words(2 * g.bins, peak);
    const int kept = 2 * g.bins >> this->random.below(8);
    for (Word32& word : sparse) {
      if (this->random.below(2 * g.bins) >= kept) word = 0;
    }
    this->expectSame(
        [&](auto form, Words& out) { form.inverseTransform(sparse, g.transform, out); }, sparse);

    const auto shift = static_cast<Word16>(this->random.from(-3, 33));
    const std::size_t overlap = 2 * g.bins - g.frame;
    this->expectSame(
        [&](auto form, Words& before, Words& time, Words& block) {
          return form.addOverlap(Block{time, kAllBits, shift}, before, block);
        },
        this->words(overlap, this->often() ? peak : kMax32), sparse, Words(g.frame));
    this->expectSame(
        [&](auto form, Words& before, Words& time) {
          form.addOverlap(Block{time, kAllBits, shift}, before, std::span(time).first(g.frame));
        },
        this->words(overlap, peak), sparse);

    const Words x = this->words((80U << size) + 2 * this->random.below(3), peak);
    this->expectSame(
        [&](auto form, Words& memory, Halves& out) { form.deemphasise(x, memory[0], out); },
        Words(1, this->random.word32()), Halves(x.size()));
  });
}

// Memories far beyond what the filters produce, too.
TYPED_TEST(Kernels, BandSplitFilters) {
  const auto memory = [](Halves& x, Words& y) {
    return FilterMemory{std::span<Word16, kFilterOrder>(x), std::span<Word32, kFilterOrder>(y)};
  };
  forEach({0xFFFFF, 0x7FFFFFF, 0x3FFFFFFF, 0x40000000, kMax32}, 20, [&](Word32 peak) {
    const std::size_t n = this->often() ? kMaxLowFrame : 1 + this->random.below(kMaxLowFrame);
    const Halves in = this->factors(3 * n), low = this->factors(n);
    Halves before = this->factors(kFilterOrder);
    for (const std::size_t i : {1, 2, 4, 5, 7, 8}) {  // as the interpolation leaves them, too
      if (n % 2 == 0) before[i] = 0;
    }
    const auto filter = [&](auto run, std::size_t samples) {
      this->expectSame(
          [&](auto form, Halves& x, Words& y, Halves& out) { run(form, memory(x, y), out); },
          before, this->words(kFilterOrder, peak), Halves(samples));
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
    const Word32 gain = this->often()
                            ? this->words(8, kPeaks[this->random.below(std::size(kPeaks))])[0]
                            : this->factors(1)[0];  // -1 of 16 bits among them
    this->expectSame([&](auto form, Halves& y) { form.amplify(x, gain, y); }, Halves(x.size()));
    this->expectSame([&](auto form, Halves& y) { form.amplify(y, gain, y); }, x);
  });
}

}  // namespace
}  // namespace arvessa::test
