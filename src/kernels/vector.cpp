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

// The bits of all words.
class BitsOf {
 public:
  void add(Words words) { bits_ |= words ^ (words >> 31); }
  UsedBits all() const { return static_cast<UsedBits>(bits_[0] | bits_[1] | bits_[2] | bits_[3]); }

 private:
  Words bits_ = {0, 0, 0, 0};
};

// Twice the rounded upper halves of words with headroom, saturated.
void roundAndDouble(const Word32* words, std::size_t n, Word16* out) {
  std::size_t i = 0;
  for (; i + 4 <= n; i += 4) {
    const Words rounded = (load(words + i) + 0x8000) >> 16;
    storeSaturated(out + i, rounded + rounded);
  }
  for (; i < n; ++i) out[i] = saturate16(2 * roundHigh(words[i]));
}

}  // namespace

UsedBits Vector::multiply(Block x, std::span<const Word16> factors) {
  if (x.bits > kFactorBits) return Portable::multiply(x, factors);
  Word32* const words = x.words.data();
  const Word16* const f = factors.data();
  const std::size_t n = x.words.size();
  std::size_t i = 0;
  for (; i + 4 <= n; i += 4) store(words + i, mulQ15(load(words + i), loadFactors(f + i)));
  for (; i < n; ++i) words[i] = mpy32x16(words[i], f[i]);
  return x.bits;
}

UsedBits Vector::preemphasise(ConstBlock x, Word32 previous, std::span<Word32> out) {
  // The sum stays below 1.41 2^30.
  if (x.bits > bitsBelow(30)) return Portable::preemphasise(x, previous, out);
  const ConstBlock head(x.words.first(4), x.bits);
  const UsedBits bits = Portable::preemphasise(head, previous, out);
  // Of the coefficient 65536 h + l, l is taken as signed: its product is then short by 2^16 times
  // the upper half, 2 of them after the shift.
  const Factors high = splatFactor(extractHigh(kPreemphasis));
  const Factors low = splatFactor(extractLow(kPreemphasis));
  static_assert(extractLow(kPreemphasis) < 0);
  const Word32* const in = x.words.data();
  Word32* const to = out.data();
  for (std::size_t n = 4; n < x.words.size(); n += 4) {
    const Words q = load(in + n - 1);
    const Words product = mulQ15(q, high) + mulHighQ15(q, low) + 2 * (q >> 16);
    store(to + n, load(in + n) + product);
  }
  return bits;
}

UsedBits Vector::powers(std::span<const Word32> spectrum, std::span<Word32> power) {
  constexpr std::size_t kChunk = 64;
  Word16 parts[2 * kChunk];
  BitsOf bits;
  for (std::size_t first = 0; first < power.size(); first += kChunk) {
    const Word32* const from = spectrum.data() + 2 * first;
    Word32* const to = power.data() + first;
    for (std::size_t i = 0; i < 2 * kChunk; i += 4) {
      const Words word = load(from + i);
      storeSaturated(parts + i, (word >> 16) + ((word >> 15) & 1));
    }
    if (first == 0) parts[1] = 0;
    for (std::size_t k = 0; k < kChunk; k += 4) {
      // At most 2^31, a negative number: the doubled sum saturates from 2^30 on.
      const Words sum = squaredMagnitudes(parts + 2 * k);
      const Words saturated = (sum >= (1 << 30)) | (sum < 0);
      const Words doubledSum = ((sum & ~saturated) << 1) | (saturated & kMax32);
      store(to + k, doubledSum);
      bits.add(doubledSum);
    }
  }
  return bits.all();
}

void Vector::sumIntoBands(ConstBlock bins, const Filterbank& bank,
                          std::span<Word32, kBands> bands) {
  if (bins.bits > kFactorBits || bins.words.size() % 4 != 0) {
    return Portable::sumIntoBands(bins, bank, bands);
  }
  std::fill(bands.begin(), bands.end(), 0);
  Word32* const sums = bands.data();
  const Word32* const words = bins.words.data();
  const Word32* const bandOf = bank.lower.data();
  const Word16* const lowerWeight = bank.lowerWeight.data();
  const Word16* const upperWeight = bank.upperWeight.data();
  int lower = bandOf[0];
  Word32 lowerSum = 0;
  Word32 upperSum = 0;
  for (std::size_t k = 0; k < bins.words.size(); k += 4) {
    Word32 lowerShare[4];
    Word32 upperShare[4];
    const Words power = load(words + k);
    store(lowerShare, mulQ15(power, loadFactors(lowerWeight + k)));
    store(upperShare, mulQ15(power, loadFactors(upperWeight + k)));
    for (std::size_t i = 0; i < 4; ++i) {
      if (bandOf[k + i] != lower) {
        sums[lower] = lowerSum;
        sums[lower + 1] = upperSum;
        lower = bandOf[k + i];
        lowerSum = sums[lower];
        upperSum = sums[lower + 1];
      }
      lowerSum = lAdd(lowerSum, lowerShare[i]);
      upperSum = lAdd(upperSum, upperShare[i]);
    }
  }
  sums[lower] = lowerSum;
  sums[lower + 1] = upperSum;
}

void Vector::spreadToBins(std::span<const Word16, kBands> bands, const Filterbank& bank,
                          std::span<Word16> bins) {
  if (bins.size() % 4 != 0 ||
      std::any_of(bands.begin(), bands.end(), [](Word16 gain) { return gain < 0; })) {
    return Portable::spreadToBins(bands, bank, bins);
  }
  const Word16* const gains = bands.data();
  const Word32* const lower = bank.lower.data();
  const Word32* const upper = bank.upper.data();
  const Word16* const lowerWeight = bank.lowerWeight.data();
  const Word16* const upperWeight = bank.upperWeight.data();
  Word16* const out = bins.data();
  for (std::size_t k = 0; k < bins.size(); k += 4) {
    const Words sum = sumOfProducts(gatherHalves(gains, lower + k), loadHalves(lowerWeight + k),
                                    gatherHalves(gains, upper + k), loadHalves(upperWeight + k));
    storeSaturated(out + k, sum >> 15);
  }
}

UsedBits Vector::smoothPower(Block smooth, ConstBlock power) {
  if ((boundOf(smooth) | power.bits) > kFactorBits) return Portable::smoothPower(smooth, power);
  Word32* const s = smooth.words.data();
  const Word32* const p = power.words.data();
  const std::size_t last = smooth.words.size() - 1;
  const Factors old = splatFactor(kSmoothOld);
  const Factors side = splatFactor(kSmoothSide);
  const Factors centre = splatFactor(kSmoothCentre);
  s[0] = mpy32x16(s[0], kSmoothOld) + mpy32x16(p[0], kSmoothEdge);
  UsedBits bits = usedBits(s[0]);
  BitsOf vectorBits;
  std::size_t k = 1;
  for (; k + 4 <= last; k += 4) {
    const Words sides = mulQ15(load(p + k - 1), side) + mulQ15(load(p + k + 1), side);
    const Words smoothed = mulQ15(load(s + k), old) + mulQ15(load(p + k), centre) + sides;
    store(s + k, smoothed);
    vectorBits.add(smoothed);
  }
  for (; k < last; ++k) {
    s[k] = (mpy32x16(s[k], kSmoothOld) + mpy32x16(p[k - 1], kSmoothSide)) +
           (mpy32x16(p[k], kSmoothCentre) + mpy32x16(p[k + 1], kSmoothSide));
    bits |= usedBits(s[k]);
  }
  s[last] = mpy32x16(s[last], kSmoothOld) + mpy32x16(p[last], kSmoothEdge);
  return bits | usedBits(s[last]) | vectorBits.all();
}

void Vector::findActiveBins(ConstBlock smooth, ConstBlock minimum,
                            std::span<unsigned char> active) {
  if ((smooth.bits | minimum.bits) > kFactorBits || active.size() % 4 != 0) {
    return Portable::findActiveBins(smooth, minimum, active);
  }
  const Factors scale = splatFactor(kActiveScale);
  const Word32* const s = smooth.words.data();
  const Word32* const m = minimum.words.data();
  unsigned char* const flags = active.data();
  for (std::size_t k = 0; k < active.size(); k += 4) {
    storeFlags(flags + k, mulQ15(load(s + k), scale) > load(m + k) + kActiveOffset);
  }
}

UsedBits Vector::updateNoise(Block noise, ConstBlock power, std::span<const unsigned char> active,
                             Word16 alpha) {
  // No shift saturates, and the sum has headroom for any weights.
  const std::size_t bins = noise.words.size();
  if (power.bits > bitsBelow(22) || boundOf(noise) > bitsBelow(29) || bins % 4 != 0) {
    return Plain::updateNoise(noise, power, active, alpha);
  }
  const Factors fresh = splatFactor(alpha);
  const Factors old = splatFactor(low16(kMax16 - alpha));
  Word32* const noiseWords = noise.words.data();
  const Word32* const powerWords = power.words.data();
  const unsigned char* const flags = active.data();
  BitsOf bits;
  for (std::size_t k = 0; k < bins; k += 4) {
    const Words n = load(noiseWords + k);
    const Words p = load(powerWords + k);
    const Words keep = loadFlags(flags + k) & ((n >> kNoiseBits) <= p);
    const Words update = mulQ15(p << kNoiseBits, fresh) + mulQ15(n, old);
    const Words updated = (n & keep) | (update & (update > 0) & ~keep);
    store(noiseWords + k, updated);
    bits.add(updated);
  }
  return bits.all();
}

void Vector::scaleBins(Block spectrum, std::span<const Word16> gains) {
  if (spectrum.bits > kFactorBits || gains.size() % 4 != 0) {
    return Portable::scaleBins(spectrum, gains);
  }
  const Word16* const g = gains.data();
  for (std::size_t k = 0; k < gains.size(); k += 4) {
    const PairFactors factors = spreadFactors(g + k);
    Word32* const at = spectrum.words.data() + 2 * k;
    store(at, mulQ15(load(at), factors.first));
    store(at + 4, mulQ15(load(at + 4), factors.second));
  }
}

void Vector::deemphasise(ConstBlock x, Word32& memory, std::span<Word16> out) {
  // As in the portable form; the recursion stays serial, and its output is rounded in parts.
  if (x.bits > bitsBelow(30)) return Plain::deemphasise(x, memory, out);
  constexpr std::size_t kPart = 80;
  Word32 filtered[kPart];
  Word32 y = memory;
  for (std::size_t first = 0; first < out.size(); first += kPart) {
    const std::size_t n = std::min(kPart, out.size() - first);
    for (std::size_t i = 0; i < n; ++i) {
      y = x.words[first + i] + lMult32ByCoefficient(kDeemphasis, y);
      filtered[i] = y;
    }
    roundAndDouble(filtered, n, &out[first]);
  }
  memory = y;
}

void Vector::amplify(std::span<const Word16> x, Word32 gain, std::span<Word16> y) {
  std::size_t n = 0;
  if (usedBits(gain) <= kFactorBits) {
    const Words gains = splat(gain);
    const Word16* const from = x.data();
    Word16* const to = y.data();
    const std::size_t whole = x.size() - x.size() % 4;
    for (; n < whole; n += 4) {
      storeSaturated(to + n, mulQ15(gains, loadFactors(from + n)));
    }
  }
  if (n < x.size()) Portable::amplify(x.subspan(n), gain, y.subspan(n));
}

}  // namespace arvessa::kernels

#endif  // ARVESSA_VECTOR_UNIT
