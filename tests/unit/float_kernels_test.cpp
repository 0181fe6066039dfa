// SPDX-License-Identifier: Apache-2.0
// Every form of the float kernels against the plain one, to the bit, and the operations on mantissas
// and exponents apart against those of floats.
#include "kernels/float_kernels.h"

#include <bit>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <sstream>

#include "beamformer/mvdr_beamformer.h"
#include "beamformer/window_table.h"
#include "kernels/beam_frame.h"
#include "unit/float_blocks.h"
#include "unit/forms.h"

namespace arvessa::test {
namespace {

using namespace kernels;

template <class Form>
class FloatKernels : public testing::Test {};

TYPED_TEST_SUITE(FloatKernels, AsTypes<FloatForms>::Types, FormName);

void expectSameSpectrum(const HalfSpectrum& got, const HalfSpectrum& want) {
  expectSameArray(got.re, want.re, "real parts");
  expectSameArray(got.im, want.im, "imaginary parts");
}

HalfSpectrum drawSpectrum(Kind kind, Random& random) {
  const Block numbers = drawBlock(kind, random, kFloatBlock);
  HalfSpectrum spectrum;
  std::copy_n(numbers.begin(), kFloatBins, spectrum.re);
  std::copy_n(numbers.begin() + kFloatBins, kFloatBins, spectrum.im);
  return spectrum;
}

// Silence, single clicks, the smallest samples, and full scale: sums cancel to zero in all of them.
TYPED_TEST(FloatKernels, SpectraEqualThePlainOnes) {
  Random random(40);
  forEach({0, 1, 2, 15}, 1000, [&](int bits) {
    const int seldom = random.below(3) == 0 ? 1 : random.from(2, 129);
    std::array<Word16, kFloatBlock> samples{};
    for (Word16& x : samples) {
      if (random.below(seldom) == 0) x = static_cast<Word16>(random.wordOf(bits));
      if (bits == 15 && seldom > 64) x = random.below(2) == 0 ? 32767 : -32768;
    }
    HalfSpectrum got, want;
    TypeParam::analyse(samples, MVDR_CONST_TABLE_fWIN_8k, got);
    PlainFloat::analyse(samples, MVDR_CONST_TABLE_fWIN_8k, want);
    expectSameSpectrum(got, want);
  });
}

TYPED_TEST(FloatKernels, SamplesEqualThePlainOnes) {
  Random random(41);
  forEach(kKinds, 300, [&](Kind kind) {
    const HalfSpectrum spectrum = drawSpectrum(kind, random);
    HalfSpectrum samples, wanted;
    TypeParam::inverseTransform(spectrum, samples);
    PlainFloat::inverseTransform(spectrum, wanted);
    expectSameSpectrum(samples, wanted);
    constexpr std::array<float, 7> kLimits = {
        32767, 32767.5F, -32767.5F, -1e10F, -32768.5F, std::numeric_limits<float>::quiet_NaN(),
        1e10F};
    std::array<float, kFlank> overlap;
    for (float& x : overlap) {
      const int limit = random.below(20);
      x = limit < 7 ? kLimits[static_cast<std::size_t>(limit)] : random.wordOf(15) * 0.7F;
    }
    std::array<float, kFlank> wantedOverlap = overlap;
    std::array<Word16, kFloatFrame> out, wantedOut;
    TypeParam::overlapAdd(wanted, overlap, out);
    PlainFloat::overlapAdd(wanted, wantedOverlap, wantedOut);
    EXPECT_EQ(out, wantedOut);
    expectSameArray(overlap.data(), wantedOverlap.data(), kFlank, "overlap");
  });
}

// The stored weights, whose symmetry a form may use, and others, with which it may not.
TYPED_TEST(FloatKernels, BeamsEqualThePlainOnes) {
  Random random(42);
  forEach(kKinds, 300, [&](Kind kind) {
    const HalfSpectrum x[2] = {drawSpectrum(kind, random), drawSpectrum(kind, random)};
    const Block re = drawBlock(kind, random, 384);
    const Block im = drawBlock(kind, random, 384);
    for (const bool stored : {true, false}) {
      const BeamWeights weights = stored ? storedBeams() : BeamWeights{re.data(), im.data()};
      HalfSpectrum got[3] = {}, want[3] = {};
      float energies[3] = {1, 2, 3}, wanted[3] = {1, 2, 3};
      TypeParam::formBeams(weights, stored, x, got, energies);
      PlainFloat::formBeams(weights, stored, x, want, wanted);
      expectSameArray(energies, wanted, "energies");
      for (int beam = 0; beam < 3; ++beam) {
        TypeParam::formBeam(weights, beam, 0, kFirstEnergyBin, x, got[beam]);
        PlainFloat::formBeam(weights, beam, 0, kFirstEnergyBin, x, want[beam]);
        expectSameSpectrum(got[beam], want[beam]);
      }
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
  if (kind == 4) return std::nextafter(last, random.from(-1, 1));
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
void expectSameNumber(Apart got, std::int32_t power, float want) {
  EXPECT_EQ(floatOf(got, power), want);
}

// With m = 2^28, 2^29 and -2^29, ties, zeros, and what cancels.
TEST(ApartFloat, OperationsAreThoseOfFloats) {
  Random random(43);
  float x = 1, y = 1, u = 1, v = 1;
  forEach({0}, 100000, [&](int /*kind*/) {
    x = drawFloat(random, y);
    y = drawFloat(random, x);
    u = drawFloat(random, v);
    v = drawFloat(random, u);
    const Apart a = apart(x), b = apart(y);
    Apart plus, minus;
    sumAndDifference(a, b, plus, minus);
    expectSameNumber(plus, kPower + 2, x + y);
    expectSameNumber(minus, kPower + 2, x - y);
    expectSameNumber(sum(a, b), kPower + 2, x + y);
    expectSameNumber(difference(a, b), kPower + 2, x - y);
    if (u == 0.0F || v == 0.0F) return;
    const Apart xu = product(a, factorOf(u, kInSum)), yv = product(b, factorOf(v, kInSum));
    expectSameNumber(sum(xu, yv), kPower, x * u + y * v);
    expectSameNumber(difference(a, product(b, factorOf(v, kAlone))), kPower + 2, x - y * v);
    Apart twoSquares = sum(square(a), square(b));
    expectSameNumber(twoSquares, 2 * kPower + 32, x * x + y * y);
    twoSquares = sum({twoSquares.m, twoSquares.e + 2}, square(apart(v)));
    expectSameNumber(twoSquares, 2 * kPower + 32, (x * x + y * y) + v * v);
  });
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

// Streams of 20 frames through whole frames of both forms, a third of them with beams of its own.
// ARVESSA_TEST_FRAMES in the environment asks for more frames.
TEST(SoftwareFrame, EqualsThePlainFrame) {
  const char* const asked = std::getenv("ARVESSA_TEST_FRAMES");
  const int frames = asked == nullptr ? 6000 : std::atoi(asked);
  Random random(44);
  int plainFrames[kSignals] = {};
  for (int stream = 0; stream < frames / 20 && !testing::Test::HasFailure(); ++stream) {
    const auto signal = static_cast<Signal>(stream % kSignals);
    SCOPED_TRACE(testing::Message() << "stream " << stream << ", signal " << signal);
    Block re(384), im(384);
    for (Block* part : {&re, &im}) {
      for (float& w : *part) {
        const float mantissa = 1 + std::ldexp(random.magnitude(23), -23);
        w = std::ldexp(random.below(2) == 0 ? mantissa : -mantissa, random.from(-17, 14));
      }
    }
    // Some weights are 0; those of some streams leave the range.
    const bool leavesRange = stream % 9 == 2;
    for (int zeros = random.below(30); zeros > 0; --zeros) {
      im[static_cast<std::size_t>(random.below(384))] = random.below(2) == 0 ? 0.0F : -0.0F;
    }
    if (leavesRange) re[static_cast<std::size_t>(random.from(32, 127))] = 1e-6F;
    const bool stored = stream % 3 != 2;
    const BeamWeights weights = stored ? storedBeams() : BeamWeights{re.data(), im.data()};
    std::array<float, kFlank> overlap{}, wantedOverlap{};
    float energies[3] = {}, wanted[3] = {};
    const int periods[2] = {random.from(1, 120), random.from(1, 120)};
    const int levels[2] = {random.below(16), random.below(16)};
    int time = 0;
    Word16 blocks[2 * kFloatBlock] = {};
    for (int frame = 0; frame < 20; ++frame, time += kFloatFrame) {
      const bool same = random.below(4) == 0;
      for (int mic = 0; mic < 2; ++mic) {
        for (int i = 0; i < (stream % 4 == 0 ? kFloatBlock : kWindow); ++i) {
          Word16& sample = blocks[mic * kFloatBlock + i];
          sample = mic == 1 && same
                       ? blocks[i]
                       : drawSample(signal, levels[mic], time + i, periods[mic], random);
        }
      }
      const FrameInput input = {blocks, MVDR_CONST_TABLE_fWIN_8k, weights, stored};
      SoftwareFrame software;
      SteppedFrame<PlainFloat> plain;
      software.formBeams(input, energies);
      plain.formBeams(input, wanted);
      expectSameArray(energies, wanted, "energies");
      const int beam = static_cast<int>(std::max_element(wanted, wanted + 3) - wanted);
      std::array<Word16, kFloatFrame> out, wantedOut;
      software.output(input, beam, overlap, out);
      plain.output(input, beam, wantedOverlap, wantedOut);
      EXPECT_EQ(out, wantedOut);
      expectSameArray(overlap.data(), wantedOverlap.data(), kFlank, "overlap");
      if (signal == kNoise) {
        EXPECT_EQ(software.isPlain(), leavesRange);
      }
      plainFrames[signal] += software.isPlain() ? 1 : 0;
    }
  }
  std::ostringstream counts;
  for (const int n : plainFrames) counts << ' ' << n;
  RecordProperty("frames of the plain form by signal", counts.str());
  if (asked != nullptr)
    std::printf("frames of the plain form by signal:%s\n", counts.str().c_str());
}

}  // namespace
}  // namespace arvessa::test
