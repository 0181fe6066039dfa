// SPDX-License-Identifier: Apache-2.0
// Every form of the float kernels against the plain one, to the bit; the operations on mantissas and
// exponents apart against those of floats; and whole frames of both.
#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <vector>

#include "beamformer/mvdr_beamformer.h"
#include "beamformer/window_table.h"
#include "kernels.h"
#include "kernels/beam_frame.h"
#include "support/float_blocks.h"

namespace arvessa::fuzz {
namespace {

using namespace kernels;
using test::drawBlock;

Count kernelsExecuted("float kernels");
Count operationsExecuted("operations on mantissas and exponents");
Count framesExecuted("frames of the beamformer in both forms");

using fuzz::expectSame;
void expectSame(const HalfSpectrum& got, const HalfSpectrum& want) {
  expectSame(got.re, want.re, "real parts");
  expectSame(got.im, want.im, "imaginary parts");
}

// Calls check(form) with every form but the plain one.
template <class Check>
void withEveryForm(Check check) {
  check(ScalarFloat());
  check(VectorFloat());
  kernelsExecuted += 2;
}

HalfSpectrum drawSpectrum(test::Kind kind, Random& random) {
  const test::Block numbers = drawBlock(kind, random, kFloatBlock);
  HalfSpectrum spectrum;
  std::copy_n(numbers.begin(), kFloatBins, spectrum.re);
  std::copy_n(numbers.begin() + kFloatBins, kFloatBins, spectrum.im);
  return spectrum;
}
test::Kind drawKind(Random& random) {
  return std::data(test::kKinds)[random.below(static_cast<int>(test::kKinds.size()))];
}

// Silence, single clicks, the smallest samples, and full scale: sums cancel to zero in all of them.
void tryAnalysis(Random& random) {
  const int bits = std::array{0, 1, 2, 15}[random.below(4)];
  const int seldom = random.below(3) == 0 ? 1 : random.from(2, 129);
  std::array<Word16, kFloatBlock> samples{};
  for (Word16& x : samples) {
    if (random.below(seldom) == 0) x = static_cast<Word16>(random.wordOf(bits));
    if (bits == 15 && seldom > 64) x = random.below(2) == 0 ? 32767 : -32768;
  }
  HalfSpectrum want;
  PlainFloat::analyse(samples, MVDR_CONST_TABLE_fWIN_8k, want);
  withEveryForm([&](auto form) {
    HalfSpectrum got;
    form.analyse(samples, MVDR_CONST_TABLE_fWIN_8k, got);
    expectSame(got, want);
  });
}

void trySynthesis(Random& random) {
  const HalfSpectrum spectrum = drawSpectrum(drawKind(random), random);
  constexpr std::array<float, 7> kLimits = {32767,
                                            32767.5F,
                                            -32767.5F,
                                            -1e10F,
                                            -32768.5F,
                                            1e10F,
                                            std::numeric_limits<float>::quiet_NaN()};
  float overlap[kFlank];
  for (float& x : overlap) {
    const auto limit = static_cast<std::size_t>(random.below(20));
    x = limit < kLimits.size() ? kLimits[limit] : static_cast<float>(random.wordOf(15)) * 0.7F;
  }
  HalfSpectrum wanted;
  float wantedOverlap[kFlank];
  Word16 wantedOut[kFloatFrame];
  std::copy_n(overlap, kFlank, wantedOverlap);
  PlainFloat::inverseTransform(spectrum, wanted);
  PlainFloat::overlapAdd(wanted, wantedOverlap, wantedOut);
  withEveryForm([&](auto form) {
    HalfSpectrum samples;
    form.inverseTransform(spectrum, samples);
    expectSame(samples, wanted);
    float tail[kFlank];
    Word16 out[kFloatFrame];
    std::copy_n(overlap, kFlank, tail);
    form.overlapAdd(wanted, tail, out);
    expectSame(out, wantedOut, "samples");
    expectSame(tail, wantedOverlap, "overlap");
  });
}

// The stored weights, whose symmetry a form may use, and others, with which it may not.
void tryBeams(Random& random) {
  const test::Kind kind = drawKind(random);
  const HalfSpectrum x[2] = {drawSpectrum(kind, random), drawSpectrum(kind, random)};
  const test::Block re = drawBlock(kind, random, 384);
  const test::Block im = drawBlock(kind, random, 384);
  const bool stored = random.below(2) == 0;
  const BeamWeights weights = stored ? storedBeams() : BeamWeights{re.data(), im.data()};
  HalfSpectrum want[3] = {};
  float wanted[3] = {1, 2, 3};
  PlainFloat::formBeams(weights, stored, x, want, wanted);
  for (int beam = 0; beam < 3; ++beam) {
    PlainFloat::formBeam(weights, beam, 0, kFirstEnergyBin, x, want[beam]);
  }
  withEveryForm([&](auto form) {
    HalfSpectrum got[3] = {};
    float energies[3] = {1, 2, 3};
    form.formBeams(weights, stored, x, got, energies);
    expectSame(energies, wanted, "energies");
    for (int beam = 0; beam < 3; ++beam) {
      form.formBeam(weights, beam, 0, kFirstEnergyBin, x, got[beam]);
      expectSame(got[beam], want[beam]);
    }
  });
}

// A float of 24 bits, most of them 0 or 1 in many, near the one before or far from it; also zero.
float drawFloat(Random& random, float last) {
  const int bits = random.below(24);
  const int kind = random.below(8);
  std::uint32_t mantissa = static_cast<std::uint32_t>(random.wordOf(23)) & 0x7FFFFF;
  if (kind < 2) mantissa = mantissa >> bits << bits;
  if (kind == 2) mantissa |= 0x7FFFFFU >> bits;
  if (kind == 3) return last * (random.below(2) == 0 ? -1.0F : 0.5F);
  if (kind == 4 && last != 0.0F) return std::nextafter(last, random.below(2) == 0 ? 1e9F : -1e9F);
  if (kind == 5 && random.below(4) == 0) return 0;
  const int exponent = 127 + random.below(2) * random.from(-33, 33);
  const auto sign = static_cast<std::uint32_t>(random.below(2)) << 31;
  return std::bit_cast<float>(sign | static_cast<std::uint32_t>(exponent) << 23 | mantissa);
}

constexpr std::int32_t kPower = -60;
Apart apart(float x) {
  const Factor f = factorOf(x, 155 + kPower);
  return x == 0.0F ? kZero : Apart{f.m >> 2, f.e};
}

// A zero of either sign stands for both.
void expectNumber(Apart got, std::int32_t power, float want) {
  operationsExecuted += 1;
  expect(floatOf(got, power) == want, "operation on mantissa and exponent");
}

// With m = 2^28, 2^29 and -2^29, ties, zeros, and what cancels.
void tryApartFloats(Random& random) {
  float x = 1, y = 1, u = 1, v = 1;
  for (int round = 0; round < 100; ++round) {
    x = drawFloat(random, y);
    y = drawFloat(random, x);
    u = drawFloat(random, v);
    v = drawFloat(random, u);
    const Apart a = apart(x), b = apart(y);
    Apart plus, minus;
    sumAndDifference(a, b, plus, minus);
    expectNumber(plus, kPower + 2, x + y);
    expectNumber(minus, kPower + 2, x - y);
    expectNumber(sum(a, b), kPower + 2, x + y);
    expectNumber(difference(a, b), kPower + 2, x - y);
    if (u == 0.0F || v == 0.0F) continue;
    const Apart xu = product(a, factorOf(u, kInSum)), yv = product(b, factorOf(v, kInSum));
    expectNumber(sum(xu, yv), kPower, x * u + y * v);
    expectNumber(difference(a, product(b, factorOf(v, kAlone))), kPower + 2, x - y * v);
    Apart squares = sum(square(a), square(b));
    expectNumber(squares, 2 * kPower + 32, x * x + y * y);
    squares = sum({squares.m, squares.e + 2}, square(apart(v)));
    expectNumber(squares, 2 * kPower + 32, (x * x + y * y) + v * v);
  }
}

enum Signal {
  kNoise,
  kQuietNoise,
  kPlusMinusOne,
  kSparse,
  kSquares,
  kTones,
  kConstants,
  kNearSilence,
  kClicks,
  kAlternating,
  kSignals
};

Word16 drawSample(Signal signal, int level, int i, int period, Random& random) {
  const auto full = static_cast<Word16>(random.wordOf(15));
  const bool up = i / period % 2 == 0;
  switch (signal) {
    case kQuietNoise:
      return static_cast<Word16>(full >> level);
    case kPlusMinusOne:
      return random.from(-1, 1);
    case kSparse:
      return random.below(period) == 0 ? static_cast<Word16>(full >> level) : Word16{0};
    case kSquares:
      return up ? 32767 : -32768;
    case kTones:
      return static_cast<Word16>(std::lrint((32767 >> level) * std::sin(i * 2 * M_PI / period)));
    case kConstants:
      return static_cast<Word16>(-32768 >> level);
    case kNearSilence:
      return random.below(100) == 0 ? Word16{1} : Word16{0};
    case kClicks:
      return i % (5 * period) == 0 ? full : Word16{0};
    case kAlternating:
      return static_cast<Word16>(up ? full : full >> 12);
    default:
      return full;
  }
}

// Weights of any size; some are 0, and one may leave the range of the form without floats.
void drawWeights(Random& random, bool leavesRange, test::Block& re, test::Block& im) {
  for (test::Block* part : {&re, &im}) {
    for (float& w : *part) {
      const float mantissa = 1 + std::ldexp(static_cast<float>(random.magnitude(23)), -23);
      w = std::ldexp(random.below(2) == 0 ? mantissa : -mantissa, random.from(-17, 14));
    }
  }
  for (int zeros = random.below(30); zeros > 0; --zeros) {
    im[random.below(384)] = random.below(2) == 0 ? 0.0F : -0.0F;
  }
  if (leavesRange) re[static_cast<std::size_t>(random.from(32, 127))] = 1e-6F;
}

// A stream of 8 frames, with the stored beams or others.
void tryFrames(Random& random) {
  const auto signal = static_cast<Signal>(random.below(kSignals));
  const bool stored = random.below(3) != 0;
  const bool leavesRange = !stored && random.below(3) == 0;
  test::Block re(384), im(384);
  if (!stored) drawWeights(random, leavesRange, re, im);
  const BeamWeights weights = stored ? storedBeams() : BeamWeights{re.data(), im.data()};
  float overlap[kFlank] = {}, wantedOverlap[kFlank] = {};
  float energies[3] = {}, wanted[3] = {};
  const int periods[2] = {random.from(1, 120), random.from(1, 120)};
  const int levels[2] = {random.below(16), random.below(16)};
  const int samples = random.below(4) == 0 ? kFloatBlock : kWindow;
  Word16 blocks[2 * kFloatBlock] = {};
  for (int time = 0; time < 8 * kFloatFrame; time += kFloatFrame) {
    const bool same = random.below(4) == 0;
    for (int mic = 0; mic < 2; ++mic) {
      for (int i = 0; i < samples; ++i) {
        blocks[mic * kFloatBlock + i] =
            mic == 1 && same ? blocks[i]
                             : drawSample(signal, levels[mic], time + i, periods[mic], random);
      }
    }
    const FrameInput input = {blocks, MVDR_CONST_TABLE_fWIN_8k, weights, stored};
    SoftwareFrame software;
    SteppedFrame<PlainFloat> plain;
    software.formBeams(input, energies);
    plain.formBeams(input, wanted);
    expectSame(energies, wanted, "energies");
    const auto beam = static_cast<int>(std::max_element(wanted, wanted + 3) - wanted);
    Word16 out[kFloatFrame], wantedOut[kFloatFrame];
    software.output(input, beam, overlap, out);
    plain.output(input, beam, wantedOverlap, wantedOut);
    expectSame(out, wantedOut, "samples");
    expectSame(overlap, wantedOverlap, "overlap");
    if (signal == kNoise && !random.isGiven()) {
      expect(software.isPlain() == leavesRange, "noise takes the form without floats");
    }
    framesExecuted += 1;
  }
}

}  // namespace

void tryFloatKernel(Random& random) {
  constexpr auto kTries =
      std::to_array({tryAnalysis, trySynthesis, tryBeams, tryApartFloats, tryFrames, tryFrames});
  kTries[random.below(kTries.size())](random);
}

}  // namespace arvessa::fuzz
