// SPDX-License-Identifier: Apache-2.0
// Every kernel of every form that this build has, against the plain form: blocks of every size of words
// and at both sides of every condition, and what bounds the result.
#include "kernels.h"

#include <algorithm>
#include <array>
#include <bit>
#include <tuple>
#include <vector>

#include "arithmetic/operators.h"
#include "kernels/kernels.h"
#include "noise_reduction/geometry.h"

namespace arvessa::fuzz {
namespace {

using namespace kernels;

// Sizes of words beside the conditions of the kernels.
constexpr auto kPeaks =
    std::to_array<Word32>({0, 3, 0x3FFF, 0x1FFFFF, 0x200000, 0x3FFFFF, 0x400000, 0x7FFFFF, 0x800000,
                           0xFFFFFFF, 0x10000000, 0x1FFFFFFF, 0x20000000, 0x3FFFFFFF, 0x40000000,
                           0x5FFFFFFF, 0x7FFEFFFF, 0x7FFF0000, kMax32});

// A block, whose words say how large they are.
struct Words : std::vector<Word32> {
  using vector::vector;
  operator Block() { return {*this, usedBits(*this)}; }
  operator ConstBlock() const { return {*this, usedBits(*this)}; }
};
using Halves = std::vector<Word16>;
using Flags = std::vector<unsigned char>;

Count executed("kernels");

// Calls run(form, arrays...) with every form, each with its own copies of the arrays: they must be the
// same afterwards as with the plain form, and so must be the result, unless it is a bound of the last
// array.
template <class Form, class Run, class... Arrays>
void expectPlain(Run run, const std::tuple<Arrays...>& before) {
  std::tuple<Arrays...> got = before, want = before;
  const auto call = [&](auto form, auto& with) {
    return std::apply([&](auto&... array) { return run(form, array...); }, with);
  };
  executed += 1;
  using Result = decltype(call(Form(), got));
  if constexpr (std::is_void_v<Result>) {
    call(Form(), got);
    call(Plain(), want);
  } else {
    const Result result = call(Form(), got);
    const Result wanted = call(Plain(), want);
    if constexpr (std::is_same_v<Result, UsedBits>) {
      const Words& written = std::get<sizeof...(Arrays) - 1>(got);
      expect(std::bit_width(usedBits(written) | result) == std::bit_width(result), "bound");
    } else {
      expect(result == wanted, "result");
    }
  }
  expect(got == want, Form::kName);
}

template <class Run, class... Arrays>
void expectSame(Run run, const Arrays&... arrays) {
  [&]<class... Form>(std::type_identity<std::tuple<Form...>>) {
    (expectPlain<Form>(run, std::tuple(arrays...)), ...);
  }(std::type_identity<kernels::Forms>());
}

class Kernels {
 public:
  explicit Kernels(Random& numbers)
      : random(numbers), peak(drawPeak()), size(random.below(3)), g(geometryOf(size)) {}

  // Words up to the peak in magnitude, which is there with both signs unless `positive`.
  Words words(std::size_t n, Word32 largest, bool positive = false) {
    Words block(n);
    for (Word32& x : block) {
      const int kind = random.below(8);
      x = kind == 0 ? largest : kind == 1 ? -largest - 1 : random.word32() & largest;
      if (kind > 4) x = ~x;
      if (positive && x < 0) x = ~x;
    }
    return block;
  }
  Words words(std::size_t n, bool positive = false) { return words(n, peak, positive); }
  Halves factors(std::size_t n, bool positive = false) {
    Halves factors(n);
    for (Word16& f : factors) {
      f = random.below(6) == 0 ? kMax16 : random.below(6) == 0 ? kMin16 : random.word16();
      if (positive && f < 0) f = ~f;
    }
    return factors;
  }
  bool often() { return random.below(2) == 0; }
  // A peak of the list, or one beside a power of two.
  Word32 drawPeak() {
    if (often()) return kPeaks[below(kPeaks.size())];
    return ((1U << random.below(31)) - static_cast<unsigned>(random.below(2))) & kAllBits;
  }
  std::size_t below(std::size_t n) {
    return static_cast<std::size_t>(random.below(static_cast<int>(n)));
  }
  std::size_t bins() const { return static_cast<std::size_t>(g.bins); }
  std::size_t frame() const { return static_cast<std::size_t>(g.frame); }

  Random& random;
  const Word32 peak;
  const int size;
  const Geometry g;
};

void tryMultiply(Kernels& k) {
  const Halves window = k.factors((std::size_t{104} << k.size) + k.below(4), true);
  expectSame([&](auto form, Words& x) { return form.multiply(x, window); }, k.words(window.size()));
}

void tryNormalise(Kernels& k) {
  Halves samples = k.factors(k.frame());
  for (Word16& sample : samples) sample = static_cast<Word16>(sample & (k.peak >> 16 | 1));
  if (k.random.below(8) == 0) samples[5] = kMin16;
  const auto headroom = static_cast<Word16>(k.random.below(31));
  expectSame(
      [&](auto form, Words& exponent, Words& words) {
        const Block block = form.normaliseSamples(samples, headroom, words);
        exponent[0] = block.exponent;
        return block.bits;
      },
      Words(1), Words(samples.size() + 8));
  expectSame(
      [&](auto form, Words& exponent, Words& words) {
        const Block block = form.normalise(words, headroom);
        exponent = {block.exponent, static_cast<Word32>(form.bitsOf(words))};
        return block.bits;
      },
      Words(), k.words(k.bins() - k.below(3)));
}

void tryPreemphasise(Kernels& k) {
  const Words frame = k.words(k.frame());
  const Word32 previous = k.random.word32();
  expectSame([&](auto form, Words& out) { return form.preemphasise(frame, previous, out); }, frame);
}

void tryForwardTransform(Kernels& k) {
  Words block = k.words(2 * k.bins());
  if (k.random.below(3) == 0) std::fill(block.begin() + 2, block.end(), 0);
  expectSame(
      [&](auto form, Words& out) {
        Words x = block;
        return form.forwardTransform(x, k.g.transform, out);
      },
      block);
}

// The sum of all magnitudes decides: few words may be as large as many are small.
Words sparse(Kernels& k) {
  Words block = k.often() ? Words(2 * k.bins(), k.peak) : k.words(2 * k.bins());
  const std::size_t kept = block.size() >> k.below(8);
  for (Word32& word : block) {
    if (k.below(block.size()) >= kept) word = 0;
  }
  return block;
}

// That of a click, whose energy meets in one point again.
Words spectrumOfClick(Kernels& k) {
  Words click(2 * k.bins()), spectrum(2 * k.bins());
  const std::size_t at = k.below(k.bins());
  for (const std::size_t i : {2 * at, 2 * at + 1}) {
    click[i] = k.often() ? (k.often() ? kMin32 : kMax32) : k.random.word32();
  }
  Plain::forwardTransform({click, kAllBits}, k.g.transform, spectrum);
  const int up = k.random.below(5);
  for (Word32& word : spectrum) word = lShl(word, static_cast<Word16>(up));
  return spectrum;
}

void tryInverseTransform(Kernels& k) {
  const Words spectrum = k.often() ? spectrumOfClick(k) : sparse(k);
  expectSame([&](auto form, Words& out) { form.inverseTransform(spectrum, k.g.transform, out); },
             spectrum);
}

void tryPowers(Kernels& k) {
  Words spectrum = k.words(2 * k.bins());
  if (k.peak == kMax32) spectrum[6] = spectrum[7] = kMin32;  // a sum of exactly 2^31
  const auto exponent = k.random.from(-20, 33);
  expectSame(
      [&](auto form, Words& power) {
        return form.powers(Block{spectrum, kAllBits, exponent}, power);
      },
      Words(k.bins()));
}

// Gains with the weights of the bank, and with any: sums beyond 1, products of -1 and -1.
void tryBands(Kernels& k) {
  const Words power = k.words(k.bins(), k.often());
  expectSame(
      [&](auto form, Words& bands) {
        form.sumIntoBands(power, k.g.bank, std::span<Word32, kBands>(bands));
      },
      Words(kBands));
  const Halves bands = k.factors(kBands, k.often());
  const bool positive = k.often();
  const Halves lower = k.factors(k.bins(), positive), upper = k.factors(k.bins(), positive);
  const Filterbank anyWeights = {k.g.bank.lower, k.g.bank.upper, lower, upper, nullptr};
  const Filterbank& bank = k.often() ? k.g.bank : anyWeights;
  expectSame(
      [&](auto form, Halves& out) {
        form.spreadToBins(std::span<const Word16, kBands>(bands), bank, out);
      },
      Halves(k.bins() - (k.often() ? 0 : 2)));
  const Halves gains = k.factors(k.bins() - (k.often() ? 0 : 2), true);
  expectSame([&](auto form, Words& spectrum) { form.scaleBins(spectrum, gains); },
             k.words(2 * gains.size()));
}

// Also of what no frame leaves: negative words.
void tryTrackNoise(Kernels& k) {
  const std::size_t n = k.bins() - (k.often() ? 0 : 2 * k.below(30));
  const bool positive = k.random.below(4) != 0;
  Words power = k.words(n, k.drawPeak(), true);
  const Words smooth = k.words(n, positive), noise = k.words(n, positive);
  Words minimum = k.words(n, positive);
  Words smoothed = smooth;
  kernels::smoothPower(smoothed, power);
  for (std::size_t i = 0; i < n; i += 2) {  // around the threshold of the bin
    minimum[i] =
        static_cast<Word32>((std::int64_t{smoothed[i]} * 10158 >> 15) - 21 + k.random.below(3));
    if (positive && minimum[i] < 0) minimum[i] = 0;
  }
  for (std::size_t i = 0; i < n; i += 3) {  // and of the noise
    if (power[i] < 0x1000000) power[i] = (noise[i] >> 7) - (noise[i] > 127 ? i % 2 : 0);
  }
  const Word16 alpha = k.random.from(0, 32767);
  expectSame(
      [&](auto form, Words& s, Words& m, Words& window, Flags& active, Words& totals, Words& d) {
        const ConstBlock block(power, usedBits(power));
        const NoiseTotals t = form.trackNoise(block, {window, m, s, d}, alpha, active);
        totals = {t.smooth, t.minimum};
        return t.noiseBits;
      },
      smooth, minimum, k.words(n, positive), Flags(n, 7), Words(), noise);
}

// Within the ranges of frames, at their ends and outside; powers around where quotients are reduced.
void tryGains(Kernels& k) {
  constexpr auto kDivisors =
      std::to_array<Word32>({0x7FFF, 0x8000, 0x7FFFF, 0x80000, 0x7FFFFF, 0x800000, kMax32});
  const int offset = k.random.below(3);
  const auto halves = [&](int least, int most) {
    Halves drawn(kBands);
    for (Word16& x : drawn) {
      x = k.random.below(9) == 0 ? static_cast<Word16>(most) : k.random.from(least, most);
    }
    if (k.random.below(20) == 0) drawn[k.below(kBands)] = k.random.word16();
    return drawn;
  };
  const auto powers = [&](int bits, Word32 less) {
    Words drawn(kBands);
    const int level = k.random.below(bits);
    for (Word32& x : drawn) {
      const int kind = k.random.below(4);
      const Word32 edge = kDivisors[k.below(kDivisors.size())] - less;
      x = kind == 0 ? edge >> (31 - bits) : kind == 1 ? 0 : k.random.magnitude(1 + level);
    }
    if (k.random.below(20) == 0) drawn[k.below(kBands)] = k.random.word32();
    return drawn;
  };
  const auto bands = [](auto& array) { return std::span(array).template first<kBands>(); };
  const Words frame = powers(31, offset);
  Words noise = powers(31, 0);
  for (std::size_t b = 0; b < kBands; b += 2) {
    noise[b] = (kDivisors[k.below(6)] - 1 - offset) << (k.often() ? 7 : 0);
  }
  const Words speech = powers(30, offset);
  expectSame(
      [&](auto form, Halves& posterior, Halves& prior) {
        form.estimateSnr({bands(frame), bands(noise)}, bands(speech),
                         {bands(posterior), bands(prior)});
      },
      Halves(kBands), Halves(kBands));
  const Halves posterior = halves(-256, 25600), prior = halves(0, 25600);
  const Halves smooth = halves(0, 25600);
  const Word16 global = k.random.from(4020, 32767);
  expectSame(
      [&](auto form, Words& clean, Halves& gain, Halves& probability) {
        form.gainsUnderPresence({bands(posterior), bands(prior)}, bands(frame), bands(smooth),
                                global, bands(clean), {bands(gain), bands(probability)});
      },
      speech, Halves(kBands), Halves(kBands));
  const Halves probability = halves(0, 32767);
  const Word16 floorGain = k.random.from(-1, 32767);
  expectSame(
      [&](auto form, Halves& gain, Halves& out) {
        form.mixWithFloor(bands(noise), floorGain, bands(probability), bands(gain), bands(out));
      },
      halves(0, 32767), Halves(kBands));
}

void trySynthesis(Kernels& k) {
  const Words time = sparse(k);
  const Word16 shift = k.random.from(-3, 33);
  const std::size_t overlap = 2 * k.bins() - k.frame();
  expectSame(
      [&](auto form, Words& before, Words& from, Words& block) {
        return form.addOverlap(Block{from, kAllBits, shift}, before, block);
      },
      k.words(overlap, k.often() ? k.peak : kMax32), time, Words(k.frame()));
  expectSame(
      [&](auto form, Words& before, Words& from) {
        form.addOverlap(Block{from, kAllBits, shift}, before, std::span(from).first(k.frame()));
      },
      k.words(overlap), time);
  const Words x = k.words(k.frame() + 2 * k.below(3));
  expectSame([&](auto form, Words& memory, Halves& out) { form.deemphasise(x, memory[0], out); },
             Words(1, k.random.word32()), Halves(x.size()));
}

// Memories far beyond what the filters produce, too.
void tryBandSplit(Kernels& k) {
  const std::size_t n = k.often() ? kMaxLowFrame : 1 + k.below(kMaxLowFrame);
  const Halves in = k.factors(3 * n), low = k.factors(n);
  Halves before = k.factors(kFilterOrder);
  for (const std::size_t i : {1, 2, 4, 5, 7, 8}) {  // as the interpolation leaves them, too
    if (n % 2 == 0) before[i] = 0;
  }
  const auto filter = [&](auto run, std::size_t samples) {
    expectSame(
        [&](auto form, Halves& x, Words& y, Halves& out) {
          run(form,
              FilterMemory{std::span<Word16, kFilterOrder>(x), std::span<Word32, kFilterOrder>(y)},
              out);
        },
        before, k.words(kFilterOrder, k.peak | 0xFFFFF), Halves(samples));
  };
  filter([&](auto form, auto of, auto& out) { form.lowPassAndDecimate(in, of, out); }, n);
  filter([&](auto form, auto of, auto& out) { form.highPass(in, of, out); }, 3 * n);
  filter(
      [&](auto form, auto of, auto& out) {
        std::copy(low.begin(), low.end(), out.begin());  // where the low band lies
        form.interpolateAndAdd(std::span(out).first(n), of, in, out);
      },
      3 * n);
}

void tryGainControl(Kernels& k) {
  const std::size_t parts = 10U * (1 + k.below(3));
  Halves x = k.factors((k.often() ? 8 : 16) * parts);
  const int shift = k.random.below(16);
  for (Word16& sample : x) sample = static_cast<Word16>(sample >> shift);
  expectSame([&](auto form, Words& peaks) { form.peakPowers(x, peaks); }, Words(parts));
  x.resize(x.size() - k.below(3));
  const Word32 gain = k.often() ? k.words(8)[0] : k.factors(1)[0];  // -1 of 16 bits among them
  expectSame([&](auto form, Halves& y) { form.amplify(x, gain, y); }, Halves(x.size()));
  expectSame([&](auto form, Halves& y) { form.amplify(y, gain, y); }, x);
}

}  // namespace

void tryKernel(Random& random) {
  constexpr auto kTries = std::to_array(
      {tryMultiply, tryNormalise, tryPreemphasise, tryForwardTransform, tryInverseTransform,
       tryPowers, tryBands, tryTrackNoise, tryGains, trySynthesis, tryBandSplit, tryGainControl});
  const auto chosen = static_cast<std::size_t>(random.below(kTries.size()));
  Kernels kernels(random);
  kTries[chosen](kernels);
}

void runInput(std::span<const std::uint8_t> bytes) {
  Random random(bytes);
  const int part = random.below(16);
  if (part == 0) return tryOperators(random);
  if (part < 5) return tryFloatKernel(random);
  tryKernel(random);
}

}  // namespace arvessa::fuzz
