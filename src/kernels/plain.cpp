// SPDX-License-Identifier: Apache-2.0
// The definitions of the kernels.

#include <algorithm>

#include "arithmetic/operators.h"
#include "kernels/band_split_filters.h"
#include "kernels/coefficients.h"
#include "kernels/fixed_transform.h"

namespace arvessa::kernels {
namespace {

// One step of a recursive filter with saturating sums: v for the input x.
template <Word16 kMemoryShift>
Word32 filterStep(const Word32* b, const Word32* a, const FilterMemory& memory, Word16 x) {
  const auto& [xs, ys] = memory;
  Word32 forward = mpy32x16(b[0], x);
  Word32 feedback = 0;
  for (std::size_t i = 1; i <= kFilterOrder; ++i) {
    forward = lAdd(forward, mpy32x16(b[i], xs[i - 1]));
    feedback = lSub(feedback, lMpyLl(a[i], ys[i - 1]));
  }
  const Word32 v = lAdd(lShr(forward, 3), feedback);
  std::copy_backward(xs.begin(), xs.end() - 1, xs.end());
  std::copy_backward(ys.begin(), ys.end() - 1, ys.end());
  xs[0] = x;
  ys[0] = lShl(v, kMemoryShift);
  return v;
}

Word32 lowPassStep(const FilterMemory& memory, Word16 x) {
  return filterStep<kLowPassShift>(AEC_CONST_LPF_B, AEC_CONST_LPF_A, memory, x);
}

Word32 highPassStep(const FilterMemory& memory, Word16 x) {
  return filterStep<kHighPassShift>(AEC_CONST_HPF_B, AEC_CONST_HPF_A, memory, x);
}

}  // namespace

UsedBits Plain::bitsOf(std::span<const Word32> words) { return usedBits(words); }

Block Plain::normalise(std::span<Word32> words, Word16 headroom) {
  return normalised(words, headroom);
}

Block Plain::normaliseSamples(std::span<const Word16> samples, Word16 headroom,
                              std::span<Word32> words) {
  std::transform(samples.begin(), samples.end(), words.begin(), depositHigh);
  return normalised(words.first(samples.size()), headroom);
}

UsedBits Plain::multiply(Block x, std::span<const Word16> factors) {
  for (std::size_t i = 0; i < x.words.size(); ++i) x.words[i] = mpy32x16(x.words[i], factors[i]);
  return x.bits > kKnownBits ? usedBits(x.words) : x.bits;
}

UsedBits Plain::preemphasise(ConstBlock x, Word32 previous, std::span<Word32> out) {
  for (std::size_t n = 0; n < x.words.size(); ++n) {
    out[n] = lAdd(x.words[n], lMult32(kPreemphasis, previous));
    previous = x.words[n];
  }
  return boundOfPreemphasis(x.bits, out[0]);
}

UsedBits Plain::forwardTransform(Block x, const TransformTables& tables, std::span<Word32> out) {
  saturating::complexTransform(x.words.data(), tables, false);
  saturating::forwardUnpack(x.words.data(), out.data(), tables);
  return boundOfSpectrum(x.bits);
}

void Plain::inverseTransform(ConstBlock spectrum, const TransformTables& tables,
                             std::span<Word32> out) {
  saturating::inverseUnpack(spectrum.words.data(), out.data(), tables);
  saturating::complexTransform(out.data(), tables, true);
}

UsedBits Plain::powers(ConstBlock spectrum, std::span<Word32> power) {
  const auto part = [&](std::size_t i) {
    return roundHigh(lShr(spectrum.words[i], spectrum.exponent));
  };
  for (std::size_t k = 0; k < power.size(); ++k) {
    const Word16 re = part(2 * k);
    const Word16 im = k == 0 ? Word16{0} : part(2 * k + 1);
    power[k] = lMac(lMult(re, re), im, im);
  }
  return usedBits(power);
}

void Plain::sumIntoBands(ConstBlock bins, const Filterbank& bank, std::span<Word32, kBands> bands) {
  std::fill(bands.begin(), bands.end(), 0);
  for (std::size_t k = 0; k < bins.words.size(); ++k) {
    Word32& lower = bands[static_cast<std::size_t>(bank.lower[k])];
    Word32& upper = bands[static_cast<std::size_t>(bank.upper[k])];
    lower = lAdd(lower, mpy32x16(bins.words[k], bank.lowerWeight[k]));
    upper = lAdd(upper, mpy32x16(bins.words[k], bank.upperWeight[k]));
  }
}

void Plain::spreadToBins(std::span<const Word16, kBands> bands, const Filterbank& bank,
                         std::span<Word16> bins) {
  for (std::size_t k = 0; k < bins.size(); ++k) {
    const Word32 lower = lMult(bands[static_cast<std::size_t>(bank.lower[k])], bank.lowerWeight[k]);
    bins[k] = extractHigh(
        lMac(lower, bands[static_cast<std::size_t>(bank.upper[k])], bank.upperWeight[k]));
  }
}

void smoothPower(std::span<Word32> s, std::span<const Word32> p) {
  const std::size_t last = s.size() - 1;
  s[0] = lAdd(mpy32x16(s[0], kSmoothOld), mpy32x16(p[0], kSmoothEdge));
  for (std::size_t k = 1; k < last; ++k) {
    s[k] = lAdd(lAdd(mpy32x16(s[k], kSmoothOld), mpy32x16(p[k - 1], kSmoothSide)),
                lAdd(mpy32x16(p[k], kSmoothCentre), mpy32x16(p[k + 1], kSmoothSide)));
  }
  s[last] = lAdd(mpy32x16(s[last], kSmoothOld), mpy32x16(p[last], kSmoothEdge));
}

void findActiveBins(std::span<const Word32> smooth, std::span<const Word32> minimum,
                    std::span<unsigned char> active) {
  for (std::size_t k = 0; k < active.size(); ++k) {
    const bool loud = mpy32x16(smooth[k], kActiveScale) > lAdd(minimum[k], kActiveOffset);
    active[k] = loud ? 1 : 0;
  }
}

Word32 saturatedSum(std::span<const Word32> words) {
  Word32 sum = 0;
  for (const Word32 word : words) sum = lAdd(sum, word);
  return sum;
}

void updateNoise(std::span<Word32> noise, std::span<const Word32> power,
                 std::span<const unsigned char> active, Word16 alpha) {
  const Word16 keep = low16(kMax16 - alpha);
  for (std::size_t k = 0; k < noise.size(); ++k) {
    Word32& n = noise[k];
    const Word32 p = power[k];
    if (active[k] == 0 || n >> kNoiseBits > p) {
      n = std::max(lAdd(mpy32x16(lShl(p, kNoiseBits), alpha), mpy32x16(n, keep)), 0);
    }
  }
}

NoiseTotals Plain::trackNoise(ConstBlock power, const BinNoise& bins, Word16 alpha,
                              std::span<unsigned char> active) {
  smoothPower(bins.smooth, power.words);
  for (std::size_t k = 0; k < bins.smooth.size(); ++k) {
    bins.minimum[k] = std::min(bins.minimum[k], bins.smooth[k]);
    bins.windowMinimum[k] = std::min(bins.windowMinimum[k], bins.smooth[k]);
  }
  findActiveBins(bins.smooth, bins.minimum, active);
  updateNoise(bins.noise, power.words, active, alpha);
  return {saturatedSum(bins.smooth), saturatedSum(bins.minimum), usedBits(bins.noise)};
}

void Plain::scaleBins(Block spectrum, std::span<const Word16> gains) {
  for (std::size_t k = 0; k < gains.size(); ++k) {
    Word32* bin = &spectrum.words[2 * k];
    bin[0] = mpy32x16(bin[0], gains[k]);
    bin[1] = mpy32x16(bin[1], gains[k]);
  }
}

UsedBits Plain::addOverlap(ConstBlock time, std::span<Word32> overlap, std::span<Word32> block) {
  const auto word = [&](std::size_t i) { return lShr(time.words[i], time.exponent); };
  UsedBits bits = 0;
  for (std::size_t i = 0; i < block.size(); ++i) {
    block[i] = i < overlap.size() ? lAdd(word(i), overlap[i]) : word(i);
    bits |= usedBits(block[i]);
  }
  for (std::size_t i = 0; i < overlap.size(); ++i) overlap[i] = word(block.size() + i);
  return bits;
}

void Plain::deemphasise(ConstBlock x, Word32& memory, std::span<Word16> out) {
  for (std::size_t n = 0; n < out.size(); ++n) {
    memory = lAdd(x.words[n], lMult32(kDeemphasis, memory));
    out[n] = shl(roundHigh(memory), 1);
  }
}

void Plain::lowPassAndDecimate(std::span<const Word16> in, const FilterMemory& memory,
                               std::span<Word16> low) {
  for (std::size_t n = 0; n < in.size(); ++n) {
    const Word32 v = lowPassStep(memory, in[n]);
    if (n % kDecimation == 0) low[n / kDecimation] = roundHigh(lShl(v, kLowPassRounding));
  }
}

void Plain::highPass(std::span<const Word16> in, const FilterMemory& memory,
                     std::span<Word16> high) {
  for (std::size_t n = 0; n < in.size(); ++n) {
    high[n] = roundHigh(lShl(highPassStep(memory, in[n]), kHighPassRounding));
  }
}

void Plain::interpolateAndAdd(std::span<const Word16> low, const FilterMemory& memory,
                              std::span<const Word16> high, std::span<Word16> out) {
  Word16 copy[kMaxLowFrame];
  std::copy(low.begin(), low.end(), copy);
  for (std::size_t n = 0; n < out.size(); ++n) {
    const bool carriesSample = n % kDecimation == kDecimation - 1;
    const Word32 v = lowPassStep(memory, carriesSample ? copy[n / 3] : Word16{0});
    out[n] = add(high[n], roundHigh(lShl(lAdd(v, lAdd(v, v)), kLowPassRounding)));
  }
}

void Plain::peakPowers(std::span<const Word16> samples, std::span<Word32> peaks) {
  const std::size_t length = samples.size() / peaks.size();
  for (std::size_t j = 0; j < peaks.size(); ++j) {
    peaks[j] = 0;
    for (const Word16 x : samples.subspan(j * length, length)) {
      peaks[j] = std::max(peaks[j], lMult(x, x) >> 1);
    }
  }
}

void Plain::amplify(std::span<const Word16> x, Word32 gain, std::span<Word16> y) {
  for (std::size_t n = 0; n < x.size(); ++n) y[n] = saturate16(mpy32x16(gain, x[n]));
}

}  // namespace arvessa::kernels
