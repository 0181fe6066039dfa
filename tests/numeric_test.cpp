// Divisions in closed form against their 31 steps, the transcendental functions over whole domains
// and block floating point.
#include <algorithm>
#include <cmath>

#include "fixedpoint/block_float.h"
#include "fixedpoint/division.h"
#include "fixedpoint/numeric_api.h"
#include "fixedpoint/operators_api.h"
#include "model_arithmetic.h"
#include "support.h"

namespace arvessa::test {
namespace {

constexpr Word32 kMax = 2147483647;

// A divisor of every width, and a numerator near a multiple of it, often one of those at which the
// 32/16-bit quotients end, or anywhere.
std::pair<Word32, Word32> drawQuotient(Random& random) {
  const Word32 den = std::max(1, (random.wordOf(31) & kMax) >> random.below(31));
  if (random.below(2) == 0) return {(random.wordOf(31) & kMax) >> random.below(31), den};
  const int ends[] = {128, 32768};
  const int factor = random.below(4) == 0 ? ends[random.below(2)] : random.wordOf(20) & 0xFFFF;
  const std::int64_t num = std::int64_t{den} * factor + random.below(7) - 3;
  return {static_cast<Word32>(std::clamp<std::int64_t>(num, 0, kMax)), den};
}

TEST(Division, EqualsItsStepsForAllWidths) {
  Random random(2);
  for (int i = 0; i < 1000000; ++i) {
    const auto [num, den] = drawQuotient(random);
    ASSERT_EQ(WVQE_L_div32(num, den), model::WVQE_L_div32(num, den)) << num << "/" << den;
    ASSERT_EQ(quotientPlain(num, den), model::WVQE_L_div32(num, den)) << num << "/" << den;
    ASSERT_EQ(WVQE_DIV32_16_Q8(num, den), model::WVQE_DIV32_16_Q8(num, den)) << num << "/" << den;
    ASSERT_EQ(WVQE_DIV32_16_Q15(num, den), model::WVQE_DIV32_16_Q15(num, den)) << num << "/" << den;
    const Word32 fraction = num % (den == kMax ? den : den + 1);
    ASSERT_EQ(VORN_L_div32(fraction, den), model::VORN_L_div32(fraction, den))
        << fraction << "/" << den;
  }
}

// The remainder that reproduces itself: num = 2 floor(den / 2) - 1 and its neighbours, for every
// normalised divisor at the ends and for small ones.
TEST(Division, ClampsWhereTheRemainderReproducesItself) {
  for (int shift = 0; shift < 31; ++shift) {
    for (Word32 offset = -3; offset <= 3; ++offset) {
      const std::int64_t wide = (std::int64_t{1} << (shift + 1)) + offset;
      if (wide < 1 || wide > kMax) continue;
      const auto den = static_cast<Word32>(wide);
      for (int below = std::min(5, den); below >= 0; --below) {
        const Word32 num = den - below;
        ASSERT_EQ(VORN_L_div32(num, den), model::VORN_L_div32(num, den)) << num << "/" << den;
        ASSERT_EQ(WVQE_L_div32(num, den), model::WVQE_L_div32(num, den)) << num << "/" << den;
        const Word32 divisor = std::max(num, 1);
        ASSERT_EQ(WVQE_L_div32(kMax, divisor), model::WVQE_L_div32(kMax, divisor)) << divisor;
      }
    }
  }
}

// Up to where the integer quotient is exact, and beyond.
TEST(Division, NumeratorsAroundTheExactLimit) {
  for (Word32 num = (1 << 30) - 40; num <= (1 << 30) + 40; ++num) {
    for (Word32 den = 1; den < 2000; ++den) {
      const Word32 quotient = WVQE_L_div32(num, den);
      ASSERT_EQ(quotient, model::WVQE_L_div32(num, den)) << num << "/" << den;
      if (num < 1 << 30) {
        ASSERT_EQ(quotient, num / den) << num << "/" << den;
      }
    }
  }
}

// Zero, negative and too large operands go through the same steps, and trap nowhere.
TEST(Division, TakesAnyOperands) {
  Random random(3);
  for (int i = 0; i < 300000; ++i) {
    const Word32 num = random.word32();
    const Word32 dens[] = {random.word32(), random.word32(), num, 1 << random.below(31)};
    const Word32 den = dens[i % 4];
    ASSERT_EQ(WVQE_L_div32(num, den), model::WVQE_L_div32(num, den)) << num << "/" << den;
    ASSERT_EQ(VORN_L_div32(num, den), model::VORN_L_div32(num, den)) << num << "/" << den;
    ASSERT_EQ(WVQE_DIV32_16_Q8(num, den), model::WVQE_DIV32_16_Q8(num, den)) << num << "/" << den;
    ASSERT_EQ(WVQE_DIV32_16_Q15(num, den), model::WVQE_DIV32_16_Q15(num, den)) << num << "/" << den;
    const Word16 shortNum = random.word16();
    const Word16 shortDen = random.word16();
    ASSERT_EQ(VORN_div_s(shortNum, shortDen), model::VORN_div_s(shortNum, shortDen))
        << shortNum << "/" << shortDen;
  }
  EXPECT_EQ(VORN_L_div32(5, 0), kMax);  // every step subtracts
}

TEST(Numeric, ExponentialsOverTheirDomain) {
  for (int x = -32768; x <= 32767; ++x) {
    const auto argument = static_cast<Word16>(x);
    ASSERT_EQ(WVQE_Exp(argument), model::WVQE_Exp(argument)) << x;
    ASSERT_EQ(WVQE_ExpTmp(argument), model::WVQE_ExpTmp(argument)) << x;
    if (x > -4096 && x < 21290) {
      ASSERT_NEAR(WVQE_Exp(argument) / (65536 * std::exp(x / 2048.0)), 1.0, 2e-3) << x;
    }
  }
}

TEST(Numeric, RootAndLogarithm) {
  Random random(4);
  for (int i = 0; i < 3000000; ++i) {
    const Word32 x = i < 300000 ? i : (random.wordOf(31) & kMax) >> random.below(24);
    ASSERT_EQ(WVQE_Sqrt(x), model::WVQE_Sqrt(x)) << x;
    if (x >= 1 << 24) {
      ASSERT_NEAR(WVQE_Sqrt(x) / std::sqrt(x), 1.0, 3.2e-3) << x;
    }
  }
  for (int bits = 0; bits < 32; ++bits) {
    for (std::uint32_t offset = 0; offset < 3; ++offset) {
      const std::uint32_t x = (1U << bits) - 1 + offset;
      ASSERT_EQ(WVQE_iLog4(x), model::WVQE_iLog4(x)) << x;
      const auto word = static_cast<Word32>(x);
      ASSERT_EQ(WVQE_Sqrt(word), model::WVQE_Sqrt(word)) << x;
    }
  }
}

TEST(Numeric, Landmarks) {
  EXPECT_EQ(WVQE_Exp(2048), 177984);
  EXPECT_EQ(WVQE_Exp(-2048), 24082);
  EXPECT_EQ(WVQE_Exp(21290), 2142896128);
  EXPECT_EQ(WVQE_Exp(-21290), 2);
  EXPECT_EQ(WVQE_ExpTmp(1024), 92624);
  EXPECT_EQ(WVQE_Sqrt(100), 9);
  EXPECT_EQ(WVQE_Sqrt(1048576), 1025);
  EXPECT_EQ(WVQE_L_div32(32767, 328), 99);
  EXPECT_EQ(WVQE_L_div32(kMax, 1), kMax);
  EXPECT_EQ(WVQE_L_div32(1, 3), 0);
  EXPECT_EQ(WVQE_iLog4(0xFFFFFFFF), 15);
}

// The levels at which a shift begins to saturate, and a magnitude that only a negative word has.
TEST(BlockFloat, Landmarks) {
  std::vector<Word32> block(16);
  EXPECT_EQ(WVQE_Block_Norm(block.data(), 16, 6), -6);
  block[3] = 1;
  EXPECT_EQ(WVQE_Block_Norm(block.data(), 16, 8), 22);
  EXPECT_EQ(block[3], 1 << 22);
  block.assign(16, 0);
  block[15] = -2147483647 - 1;
  EXPECT_EQ(WVQE_Block_Norm(block.data(), 16, 6), -6);
  EXPECT_EQ(block[15], -(1 << 25));
  for (const auto& [word, shift, want] : {std::tuple{0x20000000, -2, kMax},
                                          {0x1FFFFFFF, -2, 0x7FFFFFFC},
                                          {0x20000000, -3, kMax},
                                          {-0x20000000, -2, -2147483647 - 1},
                                          {-1, 3, -1},
                                          {5, 0, 5},
                                          {1, -31, kMax},
                                          {-1, -32768, -2147483647 - 1}}) {
    block.assign(16, 0);
    block[9] = word;
    WVQE_Block_Denorm(block.data(), 16, static_cast<Word16>(shift));
    EXPECT_EQ(block[9], want) << word << " by " << shift;
  }
}

TEST(BlockFloat, EqualsTheModelAtEveryLevel) {
  Random random(5);
  for (int round = 0; round < 3000; ++round) {
    const auto n = static_cast<Word16>(16 * (1 + random.below(32)));
    const int bits = random.below(32);
    std::vector<Word32> block(static_cast<std::size_t>(n));
    random.fill(block.data(), block.size(), bits);
    if (round % 7 == 0) std::fill(block.begin(), block.end(), 0);
    // A power of two of either sign, where the two signs have different norms.
    if (round % 5 == 0)
      block[static_cast<std::size_t>(random.below(n))] = (-2147483647 - 1) >> bits;
    std::vector<Word32> want = block;
    const auto headroom = static_cast<Word16>(random.below(12));
    ASSERT_EQ(WVQE_Block_Norm(block.data(), n, headroom),
              model::WVQE_Block_Norm(want.data(), n, headroom));
    ASSERT_EQ(block, want);
    const auto shift = static_cast<Word16>(random.below(80) - 40);
    WVQE_Block_Denorm(block.data(), n, shift);
    model::WVQE_Block_Denorm(want.data(), n, shift);
    ASSERT_EQ(block, want) << shift;
  }
}

}  // namespace
}  // namespace arvessa::test
