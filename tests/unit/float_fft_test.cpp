// SPDX-License-Identifier: Apache-2.0
// The float transform: bit for bit against the reference, in its fast form and, with copies of the
// tables, in its plain form, and against a DFT in double precision.
#include "beamformer/float_fft.h"

#include <array>
#include <bit>
#include <cmath>
#include <complex>
#include <limits>

#include "beamformer/float_fft_tables.h"
#include "beamformer/software_float.h"
#include "reference/fft.h"
#include "support/support.h"

namespace arvessa::test {
namespace {

using Block = std::vector<float>;

const float* const kTwiddle = MVDR_CONST_TABLE_FFT_fCOEF_8K;
const unsigned short* const kPhase = MVDR_CONST_TABLE_PHASE_INDEX_8K;

enum Kind {
  kAnyAmplitude,
  kDenormals,
  kFewUnits,         // of the smallest number: every stage rounds many to zeros of either sign
  kSomeZeros,        // of both signs, among numbers
  kFewNumbers,       // among zeros of both signs
  kMostlyMinusZeros  // a sum is -0 only where all that is added is
};
constexpr Kind kKinds[] = {kAnyAmplitude, kDenormals,  kFewUnits,
                           kSomeZeros,    kFewNumbers, kMostlyMinusZeros};

Block drawBlock(Kind kind, Random& random, int n) {
  Block block(static_cast<std::size_t>(n));
  const int exponent = kind == kDenormals ? random.from(-155, -126) : random.from(-30, 8);
  const int seldom = random.from(2, 65);
  for (float& x : block) {
    const float zero = random.below(2) == 0 ? 0.0F : -0.0F;
    x = static_cast<float>(std::ldexp(random.wordOf(15), exponent));
    if (kind == kFewUnits) x = std::copysign(std::ldexp(random.below(7), -149), random.wordOf(1));
    if (kind == kSomeZeros && random.below(2) == 0) x = zero;
    if (kind == kFewNumbers && random.below(16) != 0) x = zero;
    if (kind == kMostlyMinusZeros) x = random.below(seldom) == 0 ? 0.0F : -0.0F;
  }
  return block;
}

// The arguments of a call besides its blocks. With its own tables, which it knows by their addresses,
// the library takes its fast form, else the plain one.
struct Call {
  int n;
  int stages;
  const float* twiddle;
  const unsigned short* phase;
};

void expectSameTransforms(const Call& c, const Block& block) {
  const auto n = static_cast<std::size_t>(c.n);
  const auto expectSame = [&](const char* name, auto transform) {
    Block got[2] = {block, Block(n)};
    Block want[2] = {block, Block(n)};
    transform(got, std::false_type());
    transform(want, std::true_type());
    expectSameArray(got[0].data(), want[0].data(), n, name);
    expectSameArray(got[1].data(), want[1].data(), n, name);
  };
#define EXPECT_SAME(name, ...)                                                          \
  expectSame(#name, [&](Block(&x)[2], auto wanted) {                                    \
    (wanted ? reference::name : ::name)(x[0].data(), c.n, c.n / 2, c.stages, c.twiddle, \
                                        c.phase __VA_OPT__(, ) __VA_ARGS__);            \
  })
  EXPECT_SAME(MVDR_FFT, x[1].data());
  EXPECT_SAME(MVDR_IFFT, x[1].data());
  EXPECT_SAME(MVDR_Complex_FFT);
  EXPECT_SAME(MVDR_Complex_IFFT);
#undef EXPECT_SAME
}

TEST(FloatFft, EqualsTheReference) {
  const Block copied(kTwiddle, kTwiddle + 128);
  Block smaller = copied;
  for (float& w : smaller) w *= 0.75F;
  const unsigned short steps[6] = {64, 32, 16, 8, 4, 2};
  const unsigned short halfSteps[6] = {32, 16, 8, 4, 2, 1};
  const Call calls[] = {{128, 6, kTwiddle, kPhase},       {128, 6, copied.data(), steps},
                        {128, 6, smaller.data(), kPhase}, {128, 6, kTwiddle, halfSteps},
                        {128, 5, kTwiddle, kPhase},       {128, 0, kTwiddle, kPhase}};
  Random random(10);
  for (const Kind kind : kKinds) {
    for (const Call& call : calls) {
      for (int round = 0; round < (call.twiddle == kTwiddle ? 200 : 60); ++round) {
        SCOPED_TRACE(testing::Message() << "kind " << kind << ", call " << &call - calls);
        expectSameTransforms(call, drawBlock(kind, random, 128));
        if (HasFailure()) return;
      }
    }
  }
}

// A smaller transform takes every (128 / n)-th twiddle.
TEST(FloatFft, EqualsTheReferenceAtSmallerSizes) {
  Random random(12);
  for (int n = 4; n < 128; n *= 2) {
    Block twiddle;
    for (int m = 0; m < n / 2; ++m) {
      twiddle.insert(twiddle.end(), {kTwiddle[256 / n * m], kTwiddle[256 / n * m + 1]});
    }
    unsigned short steps[6];
    for (int s = 0; s < 6; ++s) steps[s] = static_cast<unsigned short>((n / 2) >> s);
    const Call call = {n, std::countr_zero(static_cast<unsigned>(n)) - 1, twiddle.data(), steps};
    for (const Kind kind : kKinds) {
      for (int round = 0; round < 20; ++round) {
        SCOPED_TRACE(testing::Message() << "kind " << kind << ", size " << n);
        expectSameTransforms(call, drawBlock(kind, random, n));
        if (HasFailure()) return;
      }
    }
  }
}

// The same bits; what is no number may have any of those that say so.
void expectSameFloat(float got, float want, const std::string& what) {
  if (std::isnan(got) && std::isnan(want)) return;
  EXPECT_EQ(bitsOf(got), bitsOf(want)) << what << ": " << got << ", expected " << want;
}

// What stands in for the operations where they take a library routine each, on every processor.
TEST(FloatFft, IntegerFormsOfFloatOperations) {
  using Limits = std::numeric_limits<float>;
  std::vector<float> operands = {0.0F,          1.0F,
                                 0.7F,          32767.0F,
                                 Limits::max(), Limits::infinity(),
                                 Limits::min(), Limits::quiet_NaN()};
  // Denormals, and numbers that become denormal by halving.
  for (const std::uint32_t bits : {1U, 5U, 0x800001U, 0xFFFFFFU, 0x1000001U}) {
    operands.push_back(std::bit_cast<float>(bits));
  }
  for (std::size_t i = operands.size(); i-- > 0;) operands.push_back(-operands[i]);
  const ComplexFloat twiddles[] = {{1.0F, 0.0F},  {1.0F, -0.0F},      {0.0F, -1.00003052F},
                                   {0.0F, 0.75F}, {-0.0F, 0.5F},      {0.0F, 0.0F},
                                   {0.75F, 0.0F}, {0.7071F, -0.7071F}};
  for (const float re : operands) {
    expectSameFloat(half<true>(re), re * 0.5F, "half");
    for (const float im : operands) {
      for (const auto& [c, s] : twiddles) {
        std::ostringstream what;
        what << '(' << re << ' ' << im << ") (" << c << ' ' << s << ')';
        const ComplexFloat turned = rotated<false, true>(re, im, c, s);
        expectSameFloat(turned.re, (re * c) - (im * s), what.str());
        expectSameFloat(turned.im, (c * im) + (re * s), what.str());
        const ComplexFloat back = rotated<true, true>(re, im, c, s);
        expectSameFloat(back.re, (re * c) + (im * s), what.str());
        expectSameFloat(back.im, (c * im) - (re * s), what.str());
      }
    }
  }
}

TEST(FloatFft, IsTheDftAndItsInverse) {
  Random random(11);
  Block samples(128);
  for (float& x : samples) x = static_cast<float>(random.wordOf(15));
  Block work = samples;
  Block spectrum(128);
  MVDR_FFT(work.data(), 128, 64, 6, kTwiddle, kPhase, spectrum.data());
  for (std::size_t bin = 1; bin < 64; ++bin) {
    std::complex<double> exact = 0;
    for (std::size_t m = 0; m < 128; ++m) {
      exact += std::polar(1.0, -2 * M_PI * static_cast<double>(bin * m) / 128) * double{samples[m]};
    }
    EXPECT_NEAR(spectrum[2 * bin], exact.real() / 64, 3) << bin;
    EXPECT_NEAR(spectrum[2 * bin + 1], exact.imag() / 64, 3) << bin;
  }
  Block back(128);
  MVDR_IFFT(spectrum.data(), 128, 64, 6, kTwiddle, kPhase, back.data());
  for (std::size_t i = 0; i < 128; ++i) EXPECT_NEAR(back[i], samples[i], 32768 * 4.4e-4) << i;
}

}  // namespace
}  // namespace arvessa::test
