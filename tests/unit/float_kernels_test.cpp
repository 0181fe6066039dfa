// SPDX-License-Identifier: Apache-2.0
// Every form of the float kernels against the plain one, to the bit, and the integer operations that
// one of them is made of.
#include "kernels/float_kernels.h"

#include <bit>
#include <limits>
#include <sstream>

#include "beamformer/mvdr_beamformer.h"
#include "beamformer/window_table.h"
#include "kernels/integer_float.h"
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

// The same bits; what is no number may have any of those that say so.
void expectSameFloat(float got, float want, const std::string& what) {
  if (std::isnan(got) && std::isnan(want)) return;
  EXPECT_EQ(bitsOf(got), bitsOf(want)) << what << ": " << got << ", expected " << want;
}

// What stands in for the operations where they take a library routine each, on every processor.
TEST(IntegerFloat, StandsInForTheOperations) {
  using Limits = std::numeric_limits<float>;
  Block operands = {
      0, 1, 0.7F, 32767, Limits::max(), Limits::infinity(), Limits::min(), Limits::quiet_NaN()};
  // Denormals, and numbers that become denormal by halving.
  for (const std::uint32_t bits : {1U, 5U, 0x800001U, 0xFFFFFFU, 0x1000001U}) {
    operands.push_back(std::bit_cast<float>(bits));
  }
  for (std::size_t i = operands.size(); i-- > 0;) operands.push_back(-operands[i]);
  const ComplexFloat twiddles[] = {{1, 0},     {1, -0.0F},         {0, -1.00003052F},
                                   {0, 0.75F}, {-0.0F, 0.5F},      {0, 0},
                                   {0.75F, 0}, {0.7071F, -0.7071F}};
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

}  // namespace
}  // namespace arvessa::test
