// SPDX-License-Identifier: Apache-2.0
// The kernels with four words at a time, for blocks with headroom: where no operation of the
// definition saturates, these give the same bits. Written once above the operations of the vector
// unit.

#include "kernels/kernels.h"

#ifdef ARVESSA_VECTOR_UNIT

#include <algorithm>

#include "arithmetic/operators.h"
#include "kernels/coefficients.h"
#include "kernels/vector_unit.h"

namespace arvessa::kernels {
namespace {

UsedBits unionOf(Words w) { return static_cast<UsedBits>((w[0] | w[1]) | (w[2] | w[3])); }

// The bits of all words.
class BitsOf {
 public:
  void add(Words words) { bits_ |= words ^ (words >> 31); }
  UsedBits all() const { return unionOf(bits_); }

 private:
  Words bits_ = {0, 0, 0, 0};
};

bool isAnyNegative(const Word32* words, std::size_t size) {
  Words signs = splat(0);
  for (std::size_t k = 0; k < size; k += 4) signs |= load(words + k);
  return any(signs < 0);
}

// Sums of what is not negative saturate where the whole does, in any order.
Word32 saturatedTotal(std::int64_t sum) {
  return static_cast<Word32>(std::min<std::int64_t>(sum, kMax32));
}
[[gnu::noinline]] Word32 saturatedTotal(std::span<const Word32> words) {
  std::int64_t sum = 0;
  for (const Word32 word : words) sum += word;
  return saturatedTotal(sum);
}

// Of words 0 or more. In units of 2^9; each word may be up to one unit short.
bool isTotalBelow30Bits(std::span<const Word32> words) {
  UnsignedWords sum = {0, 0, 0, 0};
  for (std::size_t k = 0; k < words.size(); k += 4) sum += ofBits(load(&words[k])) >> 9;
  return sum[0] + sum[1] + sum[2] + sum[3] + words.size() < 1U << 21;
}

// A bank whose lower bands rise.
[[gnu::noinline]] void sumLargeIntoBands(ConstBlock bins, const Filterbank& bank,
                                         std::span<Word32, kBands> bands) {
  const Word32* const words = bins.words.data();
  if (isAnyNegative(words, bins.words.size())) return Plain::sumIntoBands(bins, bank, bands);
  const Word16* const lowerWeight = bank.lowerWeight.data();
  const Word16* const upperWeight = bank.upperWeight.data();
  std::int64_t upper = 0;
  std::size_t k = 0;
  for (std::size_t b = 0; b < kBands; ++b) {
    const std::size_t end = bank.firstBins[b + 1];
    std::int64_t sum = upper;
    upper = 0;
    for (; k < end; ++k) {
      const std::int64_t word = words[k];
      sum += (word * lowerWeight[k]) >> 15;
      upper += (word * upperWeight[k]) >> 15;
    }
    bands[b] = saturatedTotal(sum);
  }
}

// The recursion of deemphasise() where its sums may saturate. Returns the last y.
[[gnu::noinline]] Word32 filterLarge(const Word32* x, std::size_t n, Word32 y, Word32* filtered) {
#pragma GCC unroll 4
  for (std::size_t i = 0; i < n; ++i) {
    y = lAdd(x[i], lMult32ByCoefficient(kDeemphasis, y));
    filtered[i] = std::min(y, kMax32 - 0x8000);  // rounds to a saturated sample, too
  }
  return y;
}

inline Words least(Words a, Words b) { return a < b ? a : b; }

}  // namespace

UsedBits Vector::bitsOf(std::span<const Word32> words) {
  BitsOf bits;
  const std::size_t whole = words.size() - words.size() % 4;
#pragma GCC unroll 2
  for (std::size_t i = 0; i < whole; i += 4) bits.add(load(&words[i]));
  return bits.all() | usedBits(words.subspan(whole));
}

Block Vector::normalise(std::span<Word32> words, Word16 headroom) {
  if (words.size() % 8 != 0) return Plain::normalise(words, headroom);
  Word32* const at = words.data();
  UnsignedWords magnitudes = {0, 0, 0, 0};
  const auto add = [&](Words word) {
    const Words sign = word >> 31;
    magnitudes |= ofBits(word ^ sign) - ofBits(sign);
  };
  for (std::size_t i = 0; i < words.size(); i += 8) {
    add(load(at + i));
    add(load(at + i + 4));
  }
  const auto [shift, bits] = normalisationOf(unionOf(ofBits(magnitudes)), headroom);
  if (shift < 0) {
    for (std::size_t i = 0; i < words.size(); i += 4) store(at + i, load(at + i) >> -shift);
  } else {
    const int left = std::min(shift, 31);
    for (std::size_t i = 0; i < words.size(); i += 8) {
      store(at + i, load(at + i) << left);
      store(at + i + 4, load(at + i + 4) << left);
    }
  }
  return {words, bits, static_cast<Word16>(shift)};
}

Block Vector::normaliseSamples(std::span<const Word16> samples, Word16 headroom,
                               std::span<Word32> words) {
  if (samples.size() % 8 != 0) return Plain::normaliseSamples(samples, headroom, words);
  const Word16* const x = samples.data();
  const auto magnitude = static_cast<std::uint32_t>(largestMagnitude(x, samples.size()));
  const auto [shift, bits] = normalisationOf(magnitude << 16, headroom);
  const int left = std::clamp(shift, 0, 31);
  const int right = std::clamp(-shift, 0, 31);
  for (std::size_t i = 0; i < samples.size(); i += 8) storeShifted(&words[i], x + i, left, right);
  return {words.first(samples.size()), bits, static_cast<Word16>(shift)};
}

UsedBits Vector::multiply(Block x, std::span<const Word16> factors) {
  if (x.words.size() % 8 != 0) return Plain::multiply(x, factors);
  Word32* const words = x.words.data();
  const Word16* const f = factors.data();
  if (x.bits > kKnownBits) {
    BitsOf bits;
    for (std::size_t i = 0; i < x.words.size(); i += 4) {
      const Words product = shareOfAny(load(words + i), loadFactors(f + i));
      store(words + i, product);
      bits.add(product);
    }
    return bits.all();
  }
  const auto scale = [&](std::size_t k) {
    store(words + k, share(load(words + k), loadFactors(f + k)));
  };
  for (std::size_t i = 0; i < x.words.size(); i += 8) {
    scale(i);
    scale(i + 4);
  }
  return x.bits;
}

UsedBits Vector::preemphasise(ConstBlock x, Word32 previous, std::span<Word32> out) {
  // As in the portable form.
  if (x.bits > bitsBelow(30)) return Plain::preemphasise(x, previous, out);
  const Word32* const in = x.words.data();
  Word32* const to = out.data();
  to[0] = lAdd(in[0], lMult32ByCoefficient(kPreemphasis, previous));
  // Of the coefficient 65536 h + l, l is taken as signed: its product is then short by 2^16 times
  // the upper half, 2 of them after the shift.
  const Factors high = splatFactor(extractHigh(kPreemphasis));
  const Factors low = splatFactor(extractLow(kPreemphasis));
  static_assert(extractLow(kPreemphasis) < 0);
  const auto filter = [&](std::size_t n) {
    const Words q = load(in + n - 1);
    const Words product = mulQ15(q, high) + mulHighQ15(q, low) + 2 * (q >> 16);
    store(to + n, load(in + n) + product);
  };
  const std::size_t size = x.words.size();
  filter(1);
#pragma GCC unroll 2
  for (std::size_t n = 4; n < size; n += 4) filter(n);
  return boundOfPreemphasis(x.bits, to[0]);
}

UsedBits Vector::powers(ConstBlock spectrum, std::span<Word32> power) {
  // As in the portable form.
  if (spectrum.exponent < -14) return Plain::powers(spectrum, power);
  const int down = std::min(15 + spectrum.exponent, 31);
  const Word32* const from = spectrum.words.data();
  Word32* const to = power.data();
  const auto parts = [&](std::size_t i) { return ((load(from + i) >> down) + 1) >> 1; };
  Words bits = splat(0);
  for (std::size_t k = 0; k < power.size(); k += 4) {
    Words first = parts(2 * k);
    if (k == 0) first[1] = 0;
    // At most 2^31, a negative number: the doubled sum saturates from 2^30 on.
    const Words sum = squaredMagnitudes(first, parts(2 * k + 4));
    const Words saturated =
        __builtin_convertvector(__builtin_convertvector(sum, UnsignedWords) + (1U << 30), Words) >>
        31;
    const Words power4 = ((sum << 1) | saturated) & kMax32;
    store(to + k, power4);
    bits |= power4;
  }
  return unionOf(bits);
}

void Vector::sumIntoBands(ConstBlock bins, const Filterbank& bank,
                          std::span<Word32, kBands> bands) {
  // Nothing saturates where all shares together stay below 2^30. Sums of the shares before a bin,
  // of both weights, then tell those of a band by their differences.
  const std::size_t size = bins.words.size();
  if (bank.firstBins == nullptr) return Plain::sumIntoBands(bins, bank, bands);
  if (bins.bits >= (std::size_t{1} << 30) / size && !isTotalBelow30Bits(bins.words)) {
    return sumLargeIntoBands(bins, bank, bands);
  }
  constexpr Words kNone = {0, 0, 0, 0};
  struct Shares {
    Word32 lower;
    Word32 upper;
  };
  alignas(16) Shares before[kMaxTransform / 2 + 4];
  const Word32* const words = bins.words.data();
  const Word16* const lowerWeight = bank.lowerWeight.data();
  const Word16* const upperWeight = bank.upperWeight.data();
  Words sum = kNone;
  store(&before[0].lower, sum);
  const auto add = [&](Words pairs, std::size_t k) {
    const Words both = pairs + __builtin_shufflevector(kNone, pairs, 0, 1, 4, 5);
    const Words upTo = sum + both;
    store(&before[k].lower, upTo);
    sum = __builtin_shufflevector(upTo, upTo, 2, 3, 2, 3);
  };
  for (std::size_t k = 0; k < size; k += 4) {
    const Words power = load(words + k);
    const Words lower = share(power, loadFactors(lowerWeight + k));
    const Words upper = share(power, loadFactors(upperWeight + k));
    add(__builtin_shufflevector(lower, upper, 0, 4, 1, 5), k + 1);
    add(__builtin_shufflevector(lower, upper, 2, 6, 3, 7), k + 3);
  }
  Word32 fromBelow = 0;
  Shares start = {0, 0};
#pragma GCC unroll 4
  for (std::size_t b = 0; b < kBands; ++b) {
    const Shares end = before[bank.firstBins[b + 1]];
    bands[b] = fromBelow + (end.lower - start.lower);
    fromBelow = end.upper - start.upper;
    start = end;
  }
}

void Vector::spreadToBins(std::span<const Word16, kBands> bands, const Filterbank& bank,
                          std::span<Word16> bins) {
  const Word16* const gains = bands.data();
  const Words negative = outsideOf(gains, 0, kMax16) | outsideOf(gains + 8, 0, kMax16) |
                         outsideOf(gains + 16, 0, kMax16);
  if (bins.size() % 4 != 0 || any(negative)) return Plain::spreadToBins(bands, bank, bins);
  const Word32* const lower = bank.lower.data();
  const Word16* const lowerWeight = bank.lowerWeight.data();
  const Word16* const upperWeight = bank.upperWeight.data();
  Word16* const out = bins.data();
#pragma GCC unroll 2
  for (std::size_t k = 0; k < bins.size(); k += 4) {
    const Words sum = weightedPairs(gains, lower + k, lowerWeight + k, upperWeight + k);
    storeSaturated(out + k, sum >> 15);
  }
}

NoiseTotals Vector::trackNoise(ConstBlock power, const BinNoise& bins, Word16 alpha,
                               std::span<unsigned char> active) {
  const std::size_t size = bins.smooth.size();
  Word32* const s = bins.smooth.data();
  Word32* const minima = bins.minimum.data();
  Word32* const windowMinima = bins.windowMinimum.data();
  Word32* const noise = bins.noise.data();
  const Word32* const p = power.words.data();
  // No sum of products saturates if no word is negative, since the weights add up to less than 1.
  Words signs = splat(0);
#pragma GCC unroll 2
  for (std::size_t k = 0; k + 4 <= size; k += 4) {
    signs |= (load(s + k) | load(minima + k)) | (load(noise + k) | load(p + k));
  }
  if (size % 4 != 0 || any(signs < 0)) return Plain::trackNoise(power, bins, alpha, active);
  // What the products of a sum lack: its weights add up to 32767.
  constexpr Word32 kLacking = kMax16 << 15;
  static_assert(kSmoothOld + kSmoothCentre + 2 * kSmoothSide == kMax16);
  const Factors old = splatFactor(kSmoothOld);
  const Factors side = splatFactor(kSmoothSide);
  const Factors centre = splatFactor(kSmoothCentre);
  const Factors scale = splatFactor(kActiveScale);
  constexpr Word32 kLoudOffset = (kActiveScale << 15) - kActiveOffset;
  const Factors fresh = splatFactor(alpha);
  const Factors kept = splatFactor(low16(kMax16 - alpha));
  const Word32 firstBin = mpy32x16(s[0], kSmoothOld) + mpy32x16(p[0], kSmoothEdge);
  const Word32 lastBin = mpy32x16(s[size - 1], kSmoothOld) + mpy32x16(p[size - 1], kSmoothEdge);
  const bool loudPower = power.bits >= 1 << (31 - kNoiseBits);
  UnsignedWords smoothSum = {0, 0, 0, 0};
  UnsignedWords minimumSum = {0, 0, 0, 0};
  Words smoothBits = splat(0);
  Words noiseBits = splat(0);
  Words before = splat(0);
  Words sides = shareLess(load(p), side);
  for (std::size_t k = 0; k < size; k += 4) {
    const Words now = load(p + k);
    const bool atEnd = k + 4 == size;
    const Words next = shareLess(load(atEnd ? p : p + k + 4), side);
    const Words turned = __builtin_shufflevector(sides, sides, 3, 0, 1, 2);
    const Words lower = __builtin_shufflevector(before, turned, 0, 5, 6, 7);
    const Words mixed = __builtin_shufflevector(next, sides, 0, 5, 6, 7);
    const Words upper = __builtin_shufflevector(mixed, mixed, 1, 2, 3, 0);
    Words smooth =
        shareLess(load(s + k), old) + shareLess(now, centre) + (lower + upper) + kLacking;
    if (k == 0) smooth[0] = firstBin;
    if (atEnd) smooth[3] = lastBin;
    before = turned;
    sides = next;
    store(s + k, smooth);
    const Words minimum = least(load(minima + k), smooth);
    store(minima + k, minimum);
    store(windowMinima + k, least(load(windowMinima + k), smooth));
    smoothSum += ofBits(smooth);
    minimumSum += ofBits(minimum);
    smoothBits |= smooth;

    const Words loud = shareLess(smooth, scale) + kLoudOffset > minimum;
    storeFlags(active.data() + k, loud);
    const Words n = load(noise + k);
    Words shifted = now << kNoiseBits;
    if (loudPower) shifted = now >= 1 << (31 - kNoiseBits) ? splat(kMax32) : shifted;
    const Words update = shareLess(shifted, fresh) + shareLess(n, kept) + kLacking;
    const Words keep = loud & ((n >> kNoiseBits) <= now);
    const Words updated = (n & keep) | (update & ~keep);
    store(noise + k, updated);
    noiseBits |= updated;
  }
  const auto total = [](UnsignedWords w) {
    return static_cast<Word32>((w[0] + w[1]) + (w[2] + w[3]));
  };
  // A minimum is no larger than the power.
  if (std::uint64_t{unionOf(smoothBits)} * size > kMax32) {
    return {saturatedTotal(bins.smooth), saturatedTotal(bins.minimum), unionOf(noiseBits)};
  }
  return {total(smoothSum), total(minimumSum), unionOf(noiseBits)};
}

void Vector::scaleBins(Block spectrum, std::span<const Word16> gains) {
  if (spectrum.bits > kShareBits || gains.size() % 8 != 0) {
    return Plain::scaleBins(spectrum, gains);
  }
  const Word16* const g = gains.data();
  const auto scale = [&](std::size_t k) {
    const PairFactors factors = spreadFactors(g + k);
    Word32* const at = spectrum.words.data() + 2 * k;
    store(at, share(load(at), factors.first));
    store(at + 4, share(load(at + 4), factors.second));
  };
  for (std::size_t k = 0; k < gains.size(); k += 8) {
    scale(k);
    scale(k + 4);
  }
}

UsedBits Vector::addOverlap(ConstBlock time, std::span<Word32> overlap, std::span<Word32> block) {
  const int up = -std::min<int>(time.exponent, 0);
  if (overlap.size() % 4 != 0 || block.size() % 4 != 0 || up > 30 ||
      (up > 0 && bitsOf(time.words) > bitsBelow(31 - up))) {
    return Plain::addOverlap(time, overlap, block);
  }
  const int down = std::clamp<int>(time.exponent, 0, 31);
  const Word32* const words = time.words.data();
  Word32* const kept = overlap.data();
  Word32* const to = block.data();
  BitsOf bits;
#pragma GCC unroll 2
  for (std::size_t i = 0; i < overlap.size(); i += 4) {
    const Words sum = saturatedSum(load(words + i) << up >> down, load(kept + i));
    store(to + i, sum);
    bits.add(sum);
  }
#pragma GCC unroll 2
  for (std::size_t i = overlap.size(); i < block.size(); i += 4) {
    const Words word = load(words + i) << up >> down;
    store(to + i, word);
    bits.add(word);
  }
#pragma GCC unroll 2
  for (std::size_t i = 0; i < overlap.size(); i += 4) {
    store(kept + i, load(words + block.size() + i) << up >> down);
  }
  return bits.all();
}

void Vector::deemphasise(ConstBlock x, Word32& memory, std::span<Word16> out) {
  // As in the portable form; the recursion stays serial, and its output is rounded in parts.
  if (out.size() % 8 != 0) return Plain::deemphasise(x, memory, out);
  constexpr std::size_t kPart = 80;
  Word32 filtered[kPart];
  Word32 y = memory;
  for (std::size_t first = 0; first < out.size(); first += kPart) {
    const std::size_t n = std::min(kPart, out.size() - first);
    const Word32* const from = &x.words[first];
    if (x.bits > bitsBelow(30)) {
      y = filterLarge(from, n, y, filtered);
    } else {
#pragma GCC unroll 4
      for (std::size_t i = 0; i < n; ++i) {
        y = from[i] + lMult32ByCoefficient(kDeemphasis, y);
        filtered[i] = y;
      }
    }
    for (std::size_t i = 0; i < n; i += 8) {
      const auto rounded = [&](std::size_t k) { return (load(filtered + k) + 0x8000) >> 16; };
      storeDoubled(&out[first + i], rounded(i), rounded(i + 4));
    }
  }
  memory = y;
}

void Vector::peakPowers(std::span<const Word16> samples, std::span<Word32> peaks) {
  const std::size_t count = samples.size() / peaks.size();
  if (peaks.size() % 2 != 0) return Plain::peakPowers(samples, peaks);
  const Word16* x = samples.data();
  for (std::size_t j = 0; j < peaks.size(); j += 2, x += 2 * count) {
    largestSquares(x, x + count, count, &peaks[j]);
  }
}

void Vector::amplify(std::span<const Word16> x, Word32 gain, std::span<Word16> y) {
  const Word16* const from = x.data();
  Word16* const to = y.data();
  std::size_t n = 0;
  if (gain > kMin16 && gain <= kMax16) {
    const std::size_t whole = x.size() - x.size() % 8;
    for (; n < whole; n += 8) multiplyEight(from + n, low16(gain), to + n);
  } else if (usedBits(gain) <= kFactorBits) {
    const Words gains = splat(gain);
    const std::size_t whole = x.size() - x.size() % 4;
    for (; n < whole; n += 4) storeSaturated(to + n, mulQ15(gains, loadFactors(from + n)));
  }
  if (n < x.size()) Plain::amplify(x.subspan(n), gain, y.subspan(n));
}

}  // namespace arvessa::kernels

#endif  // ARVESSA_VECTOR_UNIT
