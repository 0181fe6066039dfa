// SPDX-License-Identifier: Apache-2.0
// The saturating operators, divisions, transcendental functions and block floating point: against the
// reference, any shift count and any divisor included, as every processor and compiler computes them;
// proofs/ has all operands, of the code for x86-64.
#include "reference/arithmetic.h"

#include <cmath>
#include <limits>

#include "abi/exported_functions.h"
#include "abi/exported_operators.h"
#include "abi/exported_stages.h"
#include "arithmetic/division.h"
#include "reference/agc.h"
#include "reference/engine.h"
#include "support/side_by_side.h"

namespace arvessa::test {
namespace {

// A numerator and a divisor, both of any width.
std::pair<Word32, Word32> drawQuotient(Random& random) {
  enum Kind { kAnywhere, kNearAMultiple, kNearTheEnds, kReproducingRemainder };
  const auto kind = static_cast<Kind>(random.below(4));
  Word32 den = std::max(1, random.anyMagnitude());
  std::int64_t num = random.anyMagnitude();
  if (kind == kNearAMultiple) num = std::int64_t{den} * random.magnitude(16) + random.below(7) - 3;
  if (kind == kNearTheEnds) {  // of the 32/16-bit quotients
    num = std::int64_t{den} * (random.below(2) == 0 ? 128 : 32768) + random.below(7) - 3;
  }
  if (kind ==
      kReproducingRemainder) {  // 2 floor(den / 2) - 1, for divisors near powers of two, too
    if (random.below(2) == 0) den = std::max(1, (2 << random.below(30)) + random.below(7) - 3);
    num = std::int64_t{den} - random.below(6);
  }
  return {static_cast<Word32>(std::clamp<std::int64_t>(num, 0, kMax32)), den};
}

TEST(Arithmetic, OperatorsEqualTheReference) {
  Random random(1);
  const auto any = [&](auto& operands) {
    std::apply([&](auto&... operand) { (random.draw(operand), ...); }, operands);
  };
  expectSameFunctions(
      200000, any, PAIR(VORN_saturate), PAIR(VORN_add), PAIR(VORN_sub), PAIR(VORN_abs_s),
      PAIR(VORN_negate), PAIR(VORN_extract_h), PAIR(VORN_extract_l), PAIR(VORN_L_mult),
      PAIR(VORN_mult), PAIR(VORN_mult_r), PAIR(VORN_round), PAIR(VORN_L_mac), PAIR(VORN_L_msu),
      PAIR(VORN_L_add), PAIR(VORN_L_sub), PAIR(VORN_L_negate), PAIR(VORN_L_abs),
      PAIR(VORN_L_deposit_h), PAIR(VORN_L_deposit_l), PAIR(VORN_norm_s), PAIR(VORN_norm_l),
      PAIR(VORN_shl), PAIR(VORN_shr), PAIR(VORN_L_shl), PAIR(VORN_L_shr), PAIR(VORN_L_shr_r),
      PAIR(VORN_Mpy_32_16), PAIR(VORN_L_mult32), PAIR(VORN_L_mpy_ll), PAIR(VORN_div_s),
      PAIR(VORN_L_div32), PAIR(WVQE_L_div32), PAIR(WVQE_DIV32_16_Q8), PAIR(WVQE_DIV32_16_Q15),
      PAIR(WVQE_iLog4), PAIR(AGC_norm_l));
}

TEST(Arithmetic, DivisionsEqualTheReference) {
  Random random(2);
  const Pair definition = {"the 31 steps", quotientPlain, reference::WVQE_L_div32};
  const auto quotients = [&](auto& operands) { operands = drawQuotient(random); };
  expectSameFunctions(1000000, quotients, PAIR(WVQE_L_div32), PAIR(WVQE_DIV32_16_Q8),
                      PAIR(WVQE_DIV32_16_Q15), definition);
  // Around 2^30 the 31 steps cease to give the integer quotient.
  const auto largest = [&](auto& operands) {
    operands = {(1 << 30) + random.below(81) - 40, 1 + random.below(2000)};
  };
  expectSameFunctions(200000, largest, PAIR(WVQE_L_div32), definition);
  const auto fractions = [&](auto& operands) {
    const auto [num, den] = drawQuotient(random);
    operands = {num > den ? num % den : num, den};
  };
  expectSameFunctions(1000000, fractions, PAIR(VORN_L_div32));
  const auto shortFractions = [&](auto& operands) {
    const int den = std::max(1, random.magnitude(15) >> random.below(14));
    operands = {random.below(den + 1), den};
  };
  expectSameFunctions(1000000, shortFractions, PAIR(VORN_div_s));
}

// What stands in for a divider, around the multiples of every divisor.
TEST(Arithmetic, ShortQuotientsAreExact) {
  Random random(5);
  for (std::uint32_t den = 1; den < 65536; ++den) {
    for (const std::uint32_t q : {1U, 32767U, 1U + static_cast<unsigned>(random.below(32767))}) {
      for (const std::uint32_t num : {q * den - 1, q * den, q * den + den - 1}) {
        const auto want = static_cast<Word32>(num / den);
        ASSERT_EQ(shortQuotient(num, den), want) << num << " / " << den;
      }
    }
  }
}

TEST(Arithmetic, FunctionsOfOneNumberEqualTheReference) {
  Random random(4);
  const auto magnitudes = [&](auto& operand) { operand = {random.word32() & kMax32}; };
  const auto from = [](int first) {
    return [next = first](auto& operand) mutable { std::get<0>(operand) = next++; };
  };
  expectSameFunctions(65536, from(-32768), PAIR(WVQE_Exp), PAIR(WVQE_ExpTmp));
  expectSameFunctions(300000, magnitudes, PAIR(WVQE_Sqrt));
  expectSameFunctions(400000, from(-3), PAIR(WVQE_Hypergeom_Gain));
  expectSameFunctions(70000, from(-3), PAIR(WVQE_Qcurve));
}

// Single operands that random ones miss.
TEST(Arithmetic, Landmarks) {
  // The word's lowest 65536 values times -1: one unit early, then less the low half.
  EXPECT_EQ(VORN_Mpy_32_16(kMin32 + 65535, -32768), kMax32 - 65535);
  EXPECT_EQ(VORN_Mpy_32_16(kMin32 + 65536, -32768), kMax32 - 65535);
  EXPECT_EQ(VORN_L_mult32(kMin32, kMin32 + 65535), kMax32 - 65535);
  EXPECT_EQ(VORN_L_div32(5, 0), kMax32) << "every step subtracts";
  EXPECT_EQ(WVQE_L_div32((1 << 30) - 1, 7), ((1 << 30) - 1) / 7) << "an integer quotient";
  EXPECT_EQ(WVQE_Hypergeom_Gain(0), 2722432);
  EXPECT_EQ(WVQE_Hypergeom_Gain(20480), 33191);
  EXPECT_EQ(WVQE_Qcurve(256), 28531);
  for (const auto& [from, want] : {std::pair{2147483647.5, kMax32},
                                   {-2147483648.5, kMin32},
                                   {2147483646.0, kMax32 - 1},
                                   {-2147483647.0, kMin32 + 1},
                                   {1e300, kMax32},
                                   {-2.9, -2},
                                   {std::numeric_limits<double>::quiet_NaN(), 0}}) {
    EXPECT_EQ(VORN_L_saturate(from), want) << from;
  }
}

TEST(Arithmetic, FunctionsAreNearWhatTheyApproximate) {
  for (int x = -4095; x < 21290; ++x) {
    ASSERT_NEAR(WVQE_Exp(x) / (65536 * std::exp(x / 2048.0)), 1.0, 2e-3) << x;
  }
  for (Word32 x = 1 << 24; x < kMax32 - 99991; x += 99991) {
    ASSERT_NEAR(WVQE_Sqrt(x) / std::sqrt(x), 1.0, 3.2e-3) << x;
  }
}

TEST(BlockFloat, EqualsTheReferenceAtEveryLevel) {
  Random random(5);
  forEach({false, true}, 1500, [&](bool powerOfTwo) {
    const int n = 16 * (1 + random.below(32));
    const int bits = random.below(32);
    Both<Word32> block(n, [&] { return random.wordOf(bits); });
    // Of either sign, and the two have different norms.
    if (powerOfTwo) block.put(random.below(n), kMin32 >> bits);
    EXPECT_SAME(WVQE_Block_Norm, block, n, random.from(0, 11));
    EXPECT_SAME(WVQE_Block_Denorm, block, n, random.from(-40, 39));
  });
}

// The levels at which a shift begins to saturate, and a magnitude that only a negative word has.
TEST(BlockFloat, Landmarks) {
  std::vector<Word32> block(16);
  EXPECT_EQ(WVQE_Block_Norm(block.data(), 16, 6), -6) << "nothing but zeros";
  block[15] = kMin32;
  EXPECT_EQ(WVQE_Block_Norm(block.data(), 16, 6), -6);
  EXPECT_EQ(block[15], -(1 << 25));
  for (const auto& [word, shift, want] : {std::tuple{0x20000000, -2, kMax32},
                                          {0x1FFFFFFF, -2, 0x7FFFFFFC},
                                          {-0x20000000, -2, kMin32},
                                          {-1, 3, -1},
                                          {1, -31, kMax32},
                                          {-1, -32768, kMin32}}) {
    block.assign(16, 0);
    block[9] = word;
    WVQE_Block_Denorm(block.data(), 16, shift);
    EXPECT_EQ(block[9], want) << word << " by " << shift;
  }
}

}  // namespace
}  // namespace arvessa::test
