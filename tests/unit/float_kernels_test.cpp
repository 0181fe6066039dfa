// SPDX-License-Identifier: Apache-2.0
// Every form of the float kernels against the plain one, to the bit, and the integer operations that
// one of them is made of.
#include "kernels/float_kernels.h"

#include <bit>
#include <limits>
#include <sstream>

#include "kernels/integer_float.h"
#include "unit/float_blocks.h"
#include "unit/forms.h"

namespace arvessa::test {
namespace {

using namespace kernels;

template <class Form>
class FloatKernels : public testing::Test {};

TYPED_TEST_SUITE(FloatKernels, AsTypes<FloatForms>::Types, FormName);

TYPED_TEST(FloatKernels, TransformsEqualThePlainOnes) {
  Random random(41);
  forEach(kKinds, 300, [&](Kind kind) {
    const Block block = drawBlock(kind, random, kFloatBlock);
    const std::span<const float, kFloatBlock> in(block);
    HalfSpectrum got, want;
    TypeParam::forwardTransform(in, got);
    PlainFloat::forwardTransform(in, want);
    expectSameArray(got.re, want.re, "real parts");
    expectSameArray(got.im, want.im, "imaginary parts");
    std::copy_n(block.begin(), kFloatBins, want.re);
    std::copy_n(block.begin() + kFloatBins, kFloatBins, want.im);
    float samples[kFloatBlock], wanted[kFloatBlock];
    TypeParam::inverseTransform(want, samples);
    PlainFloat::inverseTransform(want, wanted);
    expectSameArray(samples, wanted, "samples");
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
