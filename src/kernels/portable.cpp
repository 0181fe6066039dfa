// SPDX-License-Identifier: Apache-2.0
// Fewer steps than the definitions on any processor: sums that cannot saturate are plain ones, and
// what neighbours share is kept.

#include <algorithm>

#include "arithmetic/operators.h"
#include "kernels/coefficients.h"
#include "kernels/kernels.h"
#include "kernels/products.h"

namespace arvessa::kernels {
namespace {

// The largest magnitude decides. `count` is a multiple of 8.
Word32 peakPower(const Word16* x, int count) {
  Word16 highest = 0;
  Word16 lowest = 0;
  for (int i = 0; i < count; i += 8) {
    for (int j = i; j < i + 8; ++j) {
      highest = std::max(highest, x[j]);
      lowest = std::min(lowest, x[j]);
    }
  }
  const Word32 magnitude = std::max<Word32>(highest, -Word32{lowest});
  return std::min(magnitude * magnitude, Word32{0x3FFFFFFF});
}

// floor(word factor / 2^15) where twice the word fits, and added to a sum.
constexpr UsedBits kDoubledBits = bitsBelow(30);
Word32 addProduct(Word32 sum, Word32 word, Word16 factor) {
  return addByFirst(sum, 2 * word, pairOf(factor));
}
Word32 product(Word32 word, Word16 factor) { return addProduct(0, word, factor); }

// All words ORed, and a bound of their sum where none is negative: in units of 2^9, each word up to
// one unit short.
struct Totals {
  Word32 signs = 0;
  std::uint32_t units = 0;
};
Totals totalsOf(std::span<const Word32> words) {
  Totals totals;
#pragma GCC unroll 4
  for (const Word32 word : words) {
    totals.signs |= word;
    totals.units += static_cast<std::uint32_t>(word) >> 9;
  }
  totals.units += static_cast<std::uint32_t>(words.size());
  return totals;
}

Word32 saturatedTotal(std::span<const Word32> words) {
  Word32 sum = 0;
#pragma GCC unroll 4
  for (const Word32 word : words) sum = addSaturated(sum, word);
  return sum;
}

}  // namespace

UsedBits Portable::multiply(Block x, std::span<const Word16> factors) {
  Word32* const words = x.words.data();
  const Word16* const f = factors.data();
  if (x.bits > kKnownBits) {
    UsedBits bits = 0;
#pragma GCC unroll 4
    for (std::size_t i = 0; i < x.words.size(); ++i) {
      words[i] = productOfAny(words[i], f[i]);
      bits |= usedBits(words[i]);
    }
    return bits;
  }
#pragma GCC unroll 4
  for (std::size_t i = 0; i < x.words.size(); ++i) words[i] = product(words[i], f[i]);
  return x.bits;
}

UsedBits Portable::preemphasise(ConstBlock x, Word32 previous, std::span<Word32> out) {
  // The sums but the first stay below 1.41 2^30.
  if (x.bits > bitsBelow(30)) return Plain::preemphasise(x, previous, out);
  out[0] = lAdd(x.words[0], lMult32ByCoefficient(kPreemphasis, previous));
#pragma GCC unroll 4
  for (std::size_t n = 1; n < x.words.size(); ++n) {
    out[n] = x.words[n] + lMult32ByCoefficient(kPreemphasis, x.words[n - 1]);
  }
  return boundOfPreemphasis(x.bits, out[0]);
}

Block Portable::normaliseSamples(std::span<const Word16> samples, Word16 headroom,
                                 std::span<Word32> words) {
  std::uint32_t bits = 0;
#pragma GCC unroll 4
  for (const Word32 x : samples) bits |= static_cast<std::uint32_t>(x < 0 ? -x : x);
  const auto [shift, bound] = normalisationOf(bits << 16, headroom);
  // In the upper half a sample can be shifted right by what a headroom asks for.
  const int left = std::clamp(shift, 0, 31);
  const int right = std::clamp(-shift, 0, 31);
#pragma GCC unroll 4
  for (std::size_t n = 0; n < samples.size(); ++n) {
    const auto word = static_cast<std::uint32_t>(depositHigh(samples[n])) << left;
    words[n] = static_cast<Word32>(word) >> right;
  }
  return {words.first(samples.size()), bound, static_cast<Word16>(shift)};
}

UsedBits Portable::powers(ConstBlock spectrum, std::span<Word32> power) {
  // Parts to the last bit before the rounding. What would saturate in 32 bits does so in 16, too.
  // Twice the sum of two squares saturates from 2^30 on: at 2^31 - 1, all bits.
  if (spectrum.exponent < -14) return Plain::powers(spectrum, power);
  const int down = std::min(15 + spectrum.exponent, 31);
  const Word32* const words = spectrum.words.data();
  const auto part = [&](std::size_t i) { return saturate16(((words[i] >> down) + 1) >> 1); };
  UsedBits bits = 0;
  for (std::size_t k = 0; k < power.size(); ++k) {
    const Word32 re = part(2 * k);
    const Word32 im = k == 0 ? 0 : part(2 * k + 1);
    const auto sum = static_cast<std::uint32_t>(re * re) + static_cast<std::uint32_t>(im * im);
    power[k] = sum >= 1U << 30 ? kMax32 : static_cast<Word32>(2 * sum);
    bits |= static_cast<UsedBits>(power[k]);
  }
  return bits;
}

void Portable::sumIntoBands(ConstBlock bins, const Filterbank& bank,
                            std::span<Word32, kBands> bands) {
  // Neighbouring bins mostly share their bands, whose sums stay in registers meanwhile.
  std::fill(bands.begin(), bands.end(), 0);
  Word32* const sums = bands.data();
  const Word32* const words = bins.words.data();
  const Word32* const bandOf = bank.lower.data();
  const Word16* const lowerWeight = bank.lowerWeight.data();
  const Word16* const upperWeight = bank.upperWeight.data();
  const std::size_t size = bins.words.size();
  int lower = bandOf[0];
  Word32 lowerSum = 0;
  Word32 upperSum = 0;
  const auto sumBins = [&](auto addShare) {
    for (std::size_t k = 0; k < size; ++k) {
      if (bandOf[k] != lower) {
        sums[lower] = lowerSum;
        sums[lower + 1] = upperSum;
        lower = bandOf[k];
        lowerSum = sums[lower];
        upperSum = sums[lower + 1];
      }
      lowerSum = addShare(lowerSum, words[k], lowerWeight[k]);
      upperSum = addShare(upperSum, words[k], upperWeight[k]);
    }
  };
  // Where all shares together stay below 2^30 nothing saturates.
  const Totals totals = bins.bits < (std::size_t{1} << 30) / size ? Totals() : totalsOf(bins.words);
  if (totals.signs < 0) return Plain::sumIntoBands(bins, bank, bands);
  if (totals.units < 1U << 21) {
    sumBins(addProduct);
  } else {
    sumBins([](Word32 sum, Word32 word, Word16 weight) {
      return addSaturated(sum, productOfAny(word, weight));
    });
  }
  sums[lower] = lowerSum;
  sums[lower + 1] = upperSum;
}

void Portable::spreadToBins(std::span<const Word16, kBands> bands, const Filterbank& bank,
                            std::span<Word16> bins) {
  // Of gains, which are not negative, both products stay below 2^30 in magnitude.
  if (std::any_of(bands.begin(), bands.end(), [](Word16 gain) { return gain < 0; })) {
    return Plain::spreadToBins(bands, bank, bins);
  }
  const Word16* const gains = bands.data();
  const Word32* const lower = bank.lower.data();
  const Word16* const lowerWeight = bank.lowerWeight.data();
  const Word16* const upperWeight = bank.upperWeight.data();
  for (std::size_t k = 0; k < bins.size(); ++k) {
    const Word16* const pair = gains + lower[k];  // the upper band is the next
    bins[k] = saturate16((pair[0] * lowerWeight[k] + pair[1] * upperWeight[k]) >> 15);
  }
}

NoiseTotals Portable::trackNoise(ConstBlock power, const BinNoise& bins, Word16 alpha,
                                 std::span<unsigned char> active) {
  const std::size_t size = bins.smooth.size();
  const UsedBits bits = usedBits(bins.smooth) | power.bits;
  if (bits > kDoubledBits) return Plain::trackNoise(power, bins, alpha, active);
  // The weights of a bin add up to 1 at the most, so that no sum can saturate.
  Word32* const s = bins.smooth.data();
  Word32* const minima = bins.minimum.data();
  Word32* const windowMinima = bins.windowMinimum.data();
  Word32* const noise = bins.noise.data();
  const Word32* const p = power.words.data();
  const Word16 keep = low16(kMax16 - alpha);
  const bool loudPower = power.bits >= 1 << (31 - kNoiseBits);
  std::uint32_t smoothSum = 0;
  std::uint32_t minimumSum = 0;
  Word32 signs = 0;
  UsedBits noiseBits = 0;
  const auto finish = [&](std::size_t k, Word32 smooth) {
    const Word32 minimum = std::min(minima[k], smooth);
    s[k] = smooth;
    minima[k] = minimum;
    windowMinima[k] = std::min(windowMinima[k], smooth);
    smoothSum += static_cast<std::uint32_t>(smooth);
    minimumSum += static_cast<std::uint32_t>(minimum);
    signs |= minimum;
    // A minimum is no larger than the power, so that the sum has headroom.
    const bool loud = product(smooth, kActiveScale) > minimum + kActiveOffset;
    active[k] = loud ? 1 : 0;
    Word32 n = noise[k];
    if (!loud || n >> kNoiseBits > p[k]) {
      // Both weights add up to less than 1.
      const Word32 shifted = loudPower ? lShl(p[k], kNoiseBits) : p[k] * (1 << kNoiseBits);
      n = std::max(productOfAny(shifted, alpha) + productOfAny(n, keep), 0);
      noise[k] = n;
    }
    noiseBits |= usedBits(n);
  };
  const std::size_t last = size - 1;
  finish(0, addProduct(product(s[0], kSmoothOld), p[0], kSmoothEdge));
  for (std::size_t k = 1; k < last; ++k) {
    Word32 sum = addProduct(product(s[k], kSmoothOld), p[k - 1], kSmoothSide);
    sum = addProduct(sum, p[k], kSmoothCentre);
    finish(k, addProduct(sum, p[k + 1], kSmoothSide));
  }
  finish(last, addProduct(product(s[last], kSmoothOld), p[last], kSmoothEdge));
  // The sum of 512 words of 22 bits cannot leave the range.
  if (size > 512 || bits > bitsBelow(22) || signs < 0) {
    return {saturatedTotal(bins.smooth), saturatedTotal(bins.minimum), noiseBits};
  }
  return {static_cast<Word32>(smoothSum), static_cast<Word32>(minimumSum), noiseBits};
}

void Portable::scaleBins(Block spectrum, std::span<const Word16> gains) {
  if (spectrum.bits > kDoubledBits) return Plain::scaleBins(spectrum, gains);
  Word32* bin = spectrum.words.data();
#pragma GCC unroll 4
  for (const Word16 gain : gains) {
    bin[0] = product(bin[0], gain);
    bin[1] = product(bin[1], gain);
    bin += 2;
  }
}

UsedBits Portable::addOverlap(ConstBlock time, std::span<Word32> overlap, std::span<Word32> block) {
  const int up = -std::min<int>(time.exponent, 0);
  if (up > 30 || (up > 0 && usedBits(time.words) > bitsBelow(31 - up))) {
    return Plain::addOverlap(time, overlap, block);
  }
  const int down = std::clamp<int>(time.exponent, 0, 31);
  const Word32* const words = time.words.data();
  const auto shifted = [&](Word32 word) {
    return static_cast<Word32>(static_cast<std::uint32_t>(word) << up) >> down;
  };
  UsedBits bits = 0;
#pragma GCC unroll 4
  for (std::size_t i = 0; i < overlap.size(); ++i) {
    block[i] = addSaturated(shifted(words[i]), overlap[i]);
    bits |= usedBits(block[i]);
    overlap[i] = shifted(words[block.size() + i]);
  }
#pragma GCC unroll 4
  for (std::size_t i = overlap.size(); i < block.size(); ++i) {
    block[i] = shifted(words[i]);
    bits |= usedBits(block[i]);
  }
  return bits;
}

void Portable::deemphasise(ConstBlock x, Word32& memory, std::span<Word16> out) {
  Word32 y = memory;
  if (x.bits > bitsBelow(30)) {
    for (std::size_t n = 0; n < out.size(); ++n) {
      y = addSaturated(x.words[n], lMult32ByCoefficient(kDeemphasis, y));
      out[n] = saturate16(2 * (((y >> 15) + 1) >> 1));
    }
    memory = y;
    return;
  }
  // Whatever the memory, the first y then stays below 2^30 + 0.40327 2^31 < 1.81 2^30, and with it
  // all. To round them does not saturate, either.
#pragma GCC unroll 4
  for (std::size_t n = 0; n < out.size(); ++n) {
    y = x.words[n] + lMult32ByCoefficient(kDeemphasis, y);
    out[n] = saturate16(2 * ((y + 0x8000) >> 16));
  }
  memory = y;
}

void Portable::peakPowers(std::span<const Word16> samples, std::span<Word32> peaks) {
  const int count = static_cast<int>(samples.size() / peaks.size());
  const Word16* x = samples.data();
  for (Word32& peak : peaks) {
    peak = peakPower(x, count);
    x += count;
  }
}

void Portable::amplify(std::span<const Word16> x, Word32 gain, std::span<Word16> y) {
  if (usedBits(gain) > kDoubledBits) return Plain::amplify(x, gain, y);
  if (gain > kMin16 && gain <= kMax16) {  // nothing saturates
#pragma GCC unroll 4
    for (std::size_t n = 0; n < x.size(); ++n) y[n] = low16((x[n] * gain) >> 15);
    return;
  }
  for (std::size_t n = 0; n < x.size(); ++n) y[n] = saturate16(product(gain, x[n]));
}

}  // namespace arvessa::kernels
