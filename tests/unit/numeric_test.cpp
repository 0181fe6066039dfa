// SPDX-License-Identifier: Apache-2.0
// Divisions in closed form against their 31 steps, the transcendental functions over whole domains
// and block floating point.
#include <algorithm>
#include <cmath>

#include "abi/exported_functions.h"
#include "abi/exported_operators.h"
#include "arithmetic/division.h"
#include "reference/arithmetic.h"
#include "support/support.h"

namespace arvessa::test {
namespace {

constexpr Word32 kMax = 2147483647;

// A divisor of every width, and a numerator near a multiple of it, often one of those at which the
// 32/16-bit quotients end, or anywhere.
std::pair<Word32, Word32> drawQuotient(Random& random) {
  const Word32 den = std::max(1, random.anyMagnitude());
  if (random.below(2) == 0) return {random.anyMagnitude(), den};
  const int ends[] = {128, 32768};
  const int factor = random.below(4) == 0 ? ends[random.below(2)] : random.magnitude(16);
  const std::int64_t num = std::int64_t{den} * factor + random.below(7) - 3;
  return {static_cast<Word32>(std::clamp<std::int64_t>(num, 0, kMax)), den};
}

TEST(Division, EqualsTheReferenceForAllWidths) {
  Random random(2);
  for (int i = 0; i < 1000000; ++i) {
    const auto [num, den] = drawQuotient(random);
    const Word32 part = num % (den == kMax ? den : den + 1);
    const Word32 quotient = reference::WVQE_L_div32(num, den);
    EXPECT_EQ(WVQE_L_div32(num, den), quotient);
    EXPECT_EQ(quotientPlain(num, den), quotient);
    EXPECT_EQ(WVQE_DIV32_16_Q8(num, den), reference::WVQE_DIV32_16_Q8(num, den));
    EXPECT_EQ(WVQE_DIV32_16_Q15(num, den), reference::WVQE_DIV32_16_Q15(num, den));
    EXPECT_EQ(VORN_L_div32(part, den), reference::VORN_L_div32(part, den)) << part;
    ASSERT_FALSE(HasFailure()) << num << "/" << den;
  }
}

// The remainder that reproduces itself: num = 2 floor(den / 2) - 1 and its neighbours, for divisors
// of every width.
TEST(Division, EqualsTheReferenceWhereTheRemainderReproducesItself) {
  for (int shift = 0; shift < 31; ++shift) {
    for (Word32 offset = -3; offset <= 3; ++offset) {
      const std::int64_t wide = (std::int64_t{1} << (shift + 1)) + offset;
      if (wide < 1 || wide > kMax) continue;
      const auto den = static_cast<Word32>(wide);
      for (int below = std::min(5, den - 1); below >= 0; --below) {
        const Word32 num = den - below;
        SCOPED_TRACE(testing::Message() << num << "/" << den);
        ASSERT_EQ(VORN_L_div32(num, den), reference::VORN_L_div32(num, den));
        ASSERT_EQ(WVQE_L_div32(num, den), reference::WVQE_L_div32(num, den));
        ASSERT_EQ(WVQE_L_div32(kMax, num), reference::WVQE_L_div32(kMax, num));
      }
    }
  }
}

// The quotient is the integer one for numerators below 2^30, and no further.
TEST(Division, EqualsTheReferenceAroundTheExactLimit) {
  for (Word32 num = (1 << 30) - 40; num <= (1 << 30) + 40; ++num) {
    for (Word32 den = 1; den < 2000; ++den) {
      const Word32 quotient = WVQE_L_div32(num, den);
      ASSERT_EQ(quotient, reference::WVQE_L_div32(num, den)) << num << "/" << den;
      ASSERT_TRUE(num >= 1 << 30 || quotient == num / den) << num << "/" << den;
    }
  }
}

TEST(Numeric, ExponentialsEqualTheReferenceOverTheirDomain) {
  for (int x = -32768; x <= 32767; ++x) {
    ASSERT_EQ(WVQE_Exp(x), reference::WVQE_Exp(x)) << x;
    ASSERT_EQ(WVQE_ExpTmp(x), reference::WVQE_ExpTmp(x)) << x;
    if (x > -4096 && x < 21290) {
      ASSERT_NEAR(WVQE_Exp(x) / (65536 * std::exp(x / 2048.0)), 1.0, 2e-3) << x;
    }
  }
}

TEST(Numeric, RootEqualsTheReference) {
  Random random(4);
  for (int i = 0; i < 3000000; ++i) {
    const Word32 x = i < 300000 ? i : random.magnitude() >> random.below(24);
    ASSERT_EQ(WVQE_Sqrt(x), reference::WVQE_Sqrt(x)) << x;
    if (x >= 1 << 24) {
      ASSERT_NEAR(WVQE_Sqrt(x) / std::sqrt(x), 1.0, 3.2e-3) << x;
    }
  }
  for (int bits = 0; bits < 32; ++bits) {  // where the order of magnitude changes
    for (std::uint32_t x = (1U << bits) - 1; x != (1U << bits) + 2; ++x) {
      ASSERT_EQ(WVQE_iLog4(x), reference::WVQE_iLog4(x)) << x;
      ASSERT_EQ(WVQE_Sqrt(x), reference::WVQE_Sqrt(x)) << x;
    }
  }
}

// The levels at which a shift begins to saturate, and a magnitude that only a negative word has.
TEST(BlockFloat, Landmarks) {
  std::vector<Word32> block(16);
  EXPECT_EQ(WVQE_Block_Norm(block.data(), 16, 6), -6) << "nothing but zeros";
  block[15] = -2147483647 - 1;
  EXPECT_EQ(WVQE_Block_Norm(block.data(), 16, 6), -6);
  EXPECT_EQ(block[15], -(1 << 25));
  for (const auto& [word, shift, want] : {std::tuple{0x20000000, -2, kMax},
                                          {0x1FFFFFFF, -2, 0x7FFFFFFC},
                                          {0x20000000, -3, kMax},
                                          {-0x20000000, -2, -2147483647 - 1},
                                          {-1, 3, -1},
                                          {1, -31, kMax},
                                          {-1, -32768, -2147483647 - 1}}) {
    block.assign(16, 0);
    block[9] = word;
    WVQE_Block_Denorm(block.data(), 16, shift);
    EXPECT_EQ(block[9], want) << word << " by " << shift;
  }
}

TEST(BlockFloat, EqualsTheReferenceAtEveryLevel) {
  Random random(5);
  for (int round = 0; round < 3000; ++round) {
    const auto n = static_cast<Word16>(16 * (1 + random.below(32)));
    const int bits = random.below(32);
    std::vector<Word32> block(static_cast<std::size_t>(n));
    random.fill(block.data(), block.size(), bits);
    // Often a power of two of either sign: the two signs have different norms.
    if (random.below(4) == 0) block[random.below(n)] = (-2147483647 - 1) >> bits;
    std::vector<Word32> want = block;
    const Word16 headroom = random.from(0, 11);
    ASSERT_EQ(WVQE_Block_Norm(block.data(), n, headroom),
              reference::WVQE_Block_Norm(want.data(), n, headroom));
    ASSERT_EQ(block, want);
    const Word16 shift = random.from(-40, 39);
    WVQE_Block_Denorm(block.data(), n, shift);
    reference::WVQE_Block_Denorm(want.data(), n, shift);
    ASSERT_EQ(block, want) << shift;
  }
}

}  // namespace
}  // namespace arvessa::test
