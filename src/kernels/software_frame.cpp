// SPDX-License-Identifier: Apache-2.0
// A frame of the beamformer with mantissas and exponents apart.
//
// Each operation is that of the plain form on the same operands, but for those that change nothing:
// products by 1 and 0, halves, which are one less in the exponent, changes of sign, and products
// that two results share. Two things are not those of IEEE-754, and a frame in which they could
// matter is left to the plain form:
//
// Results below 2^-126 are not denormal here. Sums are exact there, and so are halves of multiples
// of 2^-148: what is left are products. A float of at least 2^-t is a multiple of 2^-(t+23), its
// product by a factor of at least 2^-f, rounded, one of 2^-(t+f+24), and sums of multiples are
// multiples. So a test of all numbers at one place is enough for a few stages after it, up to the
// next one. The windowed samples are at least 2^-10, and multiples of 2^-33. What is not 0 must be at
// least
//
//   2^-56  after the fourth stage of the forward transform
//   2^-51  in the spectra
//   2^-17  in the weights, which must be below 2^15, too
//   2^-62  in the beams, which are squared
//   2^-55  after the second stage of the inverse transform
//   2^-51  after its fourth stage
//
// The least parts of a twiddle are 0.7, 0.38, 0.19 and 0.098 in stages 3 to 6, and 0.049 in the split
// step.
//
// Zeros have no sign. That of a zero decides only about signs of zeros, and the samples, which are
// integers, and the energies, which are sums of squares, have none: only in the overlap it shows.

#include <algorithm>

#include "kernels/beam_frame.h"
#include "kernels/float_transform_tables.h"

namespace arvessa::kernels {
namespace {

// The common powers: numbers with e = 0 are at least 2^(28 + power).
constexpr std::int32_t kSamplePower = -88;
constexpr std::int32_t kSpectrumPower = kSamplePower + 6 + 3;  // halved six times and again
constexpr std::int32_t kWeightPower = -13;
constexpr std::int32_t kBeamPower = kSpectrumPower + kWeightPower + 2;
constexpr std::int32_t kOutputPower = kBeamPower + 3 + 6 * 2;  // halved in the split step only
constexpr int kExponentBits = 7;
constexpr int kWeightBits = 5;
static_assert(28 + kSpectrumPower == -51 && 28 + kBeamPower == -62);

constexpr std::int32_t kQuarterTurn = kFloatBins / 2;  // angle -pi/2

void turnBy(const ApartBin& x, Factor c, Factor s, ApartBin& turned) {
  turned.re = difference(product(x.re, c), product(x.im, s));
  turned.im = sum(product(x.im, c), product(x.re, s));
}

// Butterflies of pairs `stride` apart: without a turn, by a right angle (s = -1 or 1, nearly), and
// by any. The common power grows by 2.
[[gnu::noinline]] void straight(ApartBin* upper, ApartBin* lower, int n, int stride) {
  for (; n > 0; --n, upper += stride, lower += stride) {
    sumAndDifference(upper->re, lower->re, upper->re, lower->re);
    sumAndDifference(upper->im, lower->im, upper->im, lower->im);
  }
}

[[gnu::noinline]] void atRightAngle(ApartBin* upper, ApartBin* lower, int n, int stride, Factor s) {
  for (; n > 0; --n, upper += stride, lower += stride) {
    const Apart re = product(lower->im, minus(s));
    const Apart im = product(lower->re, s);
    sumAndDifference(upper->re, re, upper->re, lower->re);
    sumAndDifference(upper->im, im, upper->im, lower->im);
  }
}

[[gnu::noinline]] void turned(ApartBin* upper, ApartBin* lower, int n, int stride, Factor c,
                              Factor s) {
  for (; n > 0; --n, upper += stride, lower += stride) {
    ApartBin t;
    turnBy(*lower, c, s, t);
    sumAndDifference(upper->re, t.re, upper->re, lower->re);
    sumAndDifference(upper->im, t.im, upper->im, lower->im);
  }
}

bool inRange(const ApartSpectrum& spectrum) {
  std::int32_t all = 0;
  for (const ApartBin& bin : spectrum) all |= bin.re.e | bin.im.e;
  return (all & beyond(kExponentBits)) == 0;
}

enum Direction { kForward, kInverse };

Factor withSign(Factor f, Direction direction) { return direction == kInverse ? minus(f) : f; }

// Stages of `first` columns to half as many as `end`; bins in bit-reversed order. Inverse: with the
// sines negated.
[[gnu::noinline]] void stages(ApartSpectrum& z, Direction direction, int first, int end) {
  for (int span = first; span < end; span *= 2) {
    const int groups = kFloatBins / (2 * span);
    straight(z, z + span, groups, 2 * span);
    for (int column = 1; column < span; ++column) {
      ApartBin* const upper = z + column;
      const int angle = column * (kFloatBins / span);
      if (angle == kQuarterTurn) {
        atRightAngle(upper, upper + span, groups, 2 * span,
                     withSign(factorOf(kTwiddleSine[angle], kAlone), direction));
      } else {
        turned(upper, upper + span, groups, 2 * span, factorOf(kTwiddleCosine[angle], kInSum),
               withSign(factorOf(kTwiddleSine[angle], kInSum), direction));
      }
    }
  }
}

// Between the spectrum of pairs of samples and that of the samples, in place; inverse: with the
// cosines negated. Halved, the common power grows by 3.
[[gnu::noinline]] void splitStep(ApartSpectrum& z, Direction direction) {
  constexpr int kMiddle = kFloatBins / 2;
  sumAndDifference(z[0].re, z[0].im, z[0].re, z[0].im);
  const std::int32_t halves = direction == kInverse ? 2 : 1;
  z[0].re.e -= halves;
  z[0].im.e -= halves;
  for (int k = 1; k < kMiddle; ++k) {
    ApartBin& low = z[k];
    ApartBin& high = z[kFloatBins - k];
    const Factor c = withSign(factorOf(kTwiddleCosine[k], kInSum), direction);
    Apart a, b;
    ApartBin t;
    sumAndDifference(high.re, low.re, a, t.re);
    sumAndDifference(low.im, high.im, t.im, b);
    // turned: g c - h s and h c + g s of g = t.im, h = t.re
    ApartBin r;
    turnBy({t.im, t.re}, c, factorOf(kTwiddleSine[k], kInSum), r);
    sumAndDifference(a, r.re, low.re, high.re);
    sumAndDifference(r.im, b, low.im, high.im);
  }
  z[kMiddle].re.e -= 3;
  const Apart im = product(z[kMiddle].im, factorOf(kTwiddleSine[kMiddle], kAlone));
  z[kMiddle].im = roundedSum(im.m, im.e - 1, [] { return true; });
}

constexpr int reversed(int i) {
  int r = 0;
  for (int bit = 1; bit < kFloatBins; bit *= 2, i /= 2) r = 2 * r + i % 2;
  return r;
}
struct ReversedOrder {
  std::uint8_t place[kFloatBins];
  constexpr ReversedOrder() : place() {
    for (int i = 0; i < kFloatBins; ++i) place[i] = static_cast<std::uint8_t>(reversed(i));
  }
};
constexpr ReversedOrder kReversed;

Apart numberOf(int sample) {
  return roundedSum(sample * (1 << 12), -12 + 2 - kSamplePower, [] { return true; });
}

// False: out of range.
bool analyse(std::span<const Word16, kFloatBlock> samples, std::span<const float, kWindow> window,
             ApartSpectrum& z) {
  for (int i = 0; i < kFloatBins; ++i) {
    ApartBin& bin = z[kReversed.place[i]];
    const auto at = 2 * static_cast<std::size_t>(i);
    bin = {numberOf(samples[at]), numberOf(samples[at + 1])};
    if (at < kFlank || (at >= kFloatFrame && at < kWindow)) {
      const Apart re = product(bin.re, factorOf(window[at], kAlone));
      const Apart im = product(bin.im, factorOf(window[at + 1], kAlone));
      bin = {roundedSum(re.m, re.e + 2, [] { return true; }),
             roundedSum(im.m, im.e + 2, [] { return true; })};
    }
  }
  stages(z, kForward, 1, 16);
  if (!inRange(z)) return false;
  stages(z, kForward, 16, kFloatBins);
  splitStep(z, kForward);
  return inRange(z);
}

struct Weight {
  Factor re;
  Factor im;
};

Factor weightOf(float w) { return isZero(w) ? kZero : factorOf(w, kInSum + kWeightPower); }

// The weights of a bin's two microphones; false: out of range.
bool loadWeights(const BeamWeights& weights, int at, Weight (&w)[2]) {
  std::int32_t all = 0;
  for (int m = 0; m < 2; ++m) {
    w[m] = {weightOf(weights.re[at + m]), weightOf(weights.im[at + m])};
    all |= w[m].re.e | w[m].im.e;
  }
  return (all & beyond(kWeightBits)) == 0;
}

// One beam in some bins.
[[gnu::noinline]] bool formBeam(const BeamWeights& weights, int beam, int begin, int end,
                                const ApartSpectrum (&x)[2], ApartSpectrum& y) {
  for (int k = begin; k < end; ++k) {
    Weight w[2];
    if (!loadWeights(weights, beam * kFloatBlock + 2 * k, w)) return false;
    ApartBin first, second;
    turnBy(x[0][k], w[0].re, w[0].im, first);
    turnBy(x[1][k], w[1].re, w[1].im, second);
    y[k] = {sum(first.re, second.re), sum(first.im, second.im)};
  }
  return true;
}

// Beam 0, and the one with the conjugate weights, whose products differ in their signs only.
[[gnu::noinline]] bool formConjugateBeams(const BeamWeights& weights, const ApartSpectrum (&x)[2],
                                          ApartSpectrum& y0, ApartSpectrum& y2) {
  for (int k = kFirstEnergyBin; k < kFloatBins; ++k) {
    Weight w[2];
    if (!loadWeights(weights, 2 * k, w)) return false;
    Apart re[2], im[2], reConjugate[2], imConjugate[2];
    for (int m = 0; m < 2; ++m) {
      const ApartBin& bin = x[m][k];
      sumAndDifference(product(bin.re, w[m].re), product(bin.im, w[m].im), reConjugate[m], re[m]);
      sumAndDifference(product(bin.im, w[m].re), product(bin.re, w[m].im), im[m], imConjugate[m]);
    }
    y0[k] = {sum(re[0], re[1]), sum(im[0], im[1])};
    y2[k] = {sum(reConjugate[0], reConjugate[1]), sum(imConjugate[0], imConjugate[1])};
  }
  return true;
}

// The energy of a beam; false: out of range.
[[gnu::noinline]] bool energyOf(const ApartSpectrum& y, float& energy) {
  std::int32_t all = 0;
  Apart total = kZero;
  const auto add = [&](Apart number) {
    all |= number.e;
    total = sum(total, square(number));
    total.e += 2;
  };
  for (int k = kFirstEnergyBin; k < kFloatBins; ++k) {
    add(y[k].re);
    add(y[k].im);
  }
  energy = floatOf(total, 2 * kBeamPower + 30);
  return (all & beyond(kExponentBits)) == 0;
}

// Truncated toward zero and limited to -32767..32767.
Word16 toSample(Apart x, std::int32_t power) {
  const std::int32_t shift = -(x.e + power);
  if (x.m == 0 || shift >= 30) return 0;
  if (shift < 13) return x.m < 0 ? -32767 : 32767;
  const std::int32_t magnitude = (x.m < 0 ? -x.m : x.m) >> shift;
  const std::int32_t limited = magnitude > 32767 ? 32767 : magnitude;
  return static_cast<Word16>(x.m < 0 ? -limited : limited);
}

// False: denormal, infinite or a NaN.
bool numberOf(float x, std::int32_t power, Apart& number) {
  const Factor f = factorOf(x, 155 + power);
  const std::int32_t field = f.e + 155 + power;
  number = {f.m >> 2, f.e};
  if (isZero(x)) number = kZero;
  return number.m == 0 || (field != 0 && field != 255);
}

}  // namespace

bool SoftwareFrame::tryFormBeams(const FrameInput& input, float (&sums)[kFormedBeams]) {
  auto& [x, y] = apart_;
  const auto isSilent = [](Word16 sample) { return sample == 0; };
  if (std::all_of(input.blocks.begin(), input.blocks.end(), isSilent)) return false;
  if (!analyse(input.blocks.first<kFloatBlock>(), input.window, x[0])) return false;
  if (!analyse(input.blocks.last<kFloatBlock>(), input.window, x[1])) return false;
  const BeamWeights& weights = input.weights;
  if (input.outerConjugate) {
    if (!formConjugateBeams(weights, x, y[0], y[2])) return false;
  } else {
    for (const int beam : {0, 2}) {
      if (!formBeam(weights, beam, kFirstEnergyBin, kFloatBins, x, y[beam])) return false;
    }
  }
  if (!formBeam(weights, 1, kFirstEnergyBin, kFloatBins, x, y[1])) return false;
  for (int beam = 0; beam < kFormedBeams; ++beam) {
    if (!energyOf(y[beam], sums[beam])) return false;
  }
  return true;
}

bool SoftwareFrame::tryOutput(const FrameInput& input, int beam, std::span<float, kFlank> overlap,
                              std::span<Word16, kFloatFrame> out) {
  auto& [x, y] = apart_;
  ApartSpectrum& bins = y[beam];
  if (!formBeam(input.weights, beam, 0, kFirstEnergyBin, x, bins) || !inRange(bins)) return false;
  splitStep(bins, kInverse);
  ApartSpectrum& z = x[0];
  for (int i = 0; i < kFloatBins; ++i) z[kReversed.place[i]] = bins[i];
  stages(z, kInverse, 1, 4);
  if (!inRange(z)) return false;
  stages(z, kInverse, 4, 16);
  if (!inRange(z)) return false;
  stages(z, kInverse, 16, kFloatBins);

  const auto sample = [&](std::size_t i) { return i % 2 == 0 ? z[i / 2].re : z[i / 2].im; };
  Apart before[kFlank];
  for (std::size_t i = 0; i < kFlank; ++i) {
    if (sample(kFloatFrame + i).m == 0) return false;
    if (!numberOf(overlap[i], kOutputPower, before[i])) return false;
  }
  for (std::size_t i = 0; i < kFlank; ++i) {
    out[i] = toSample(sum(before[i], sample(i)), kOutputPower + 2);
    overlap[i] = floatOf(sample(kFloatFrame + i), kOutputPower);
  }
  for (std::size_t i = kFlank; i < kFloatFrame; ++i) out[i] = toSample(sample(i), kOutputPower);
  return true;
}

void SoftwareFrame::formBeams(const FrameInput& input, float (&energies)[kFormedBeams]) {
  float sums[kFormedBeams];
  isPlain_ = !tryFormBeams(input, sums);
  if (isPlain_) {
    plain_.formBeams(input, energies);
  } else {
    for (int beam = 0; beam < kFormedBeams; ++beam) energies[beam] += sums[beam];
  }
}

void SoftwareFrame::output(const FrameInput& input, int beam, std::span<float, kFlank> overlap,
                           std::span<Word16, kFloatFrame> out) {
  if (!isPlain_) {
    if (tryOutput(input, beam, overlap, out)) return;
    float counted[kFormedBeams] = {};
    plain_.formBeams(input, counted);
    isPlain_ = true;
  }
  plain_.output(input, beam, overlap, out);
}

}  // namespace arvessa::kernels
