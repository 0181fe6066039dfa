// SPDX-License-Identifier: Apache-2.0
// The saturating operators and the divisions: against the reference over boundaries and random
// operands, any shift count and any divisor included, and at the landmarks of their definitions.
#include <limits>

#include "abi/exported_functions.h"
#include "abi/exported_operators.h"
#include "reference/arithmetic.h"
#include "support/support.h"

namespace arvessa::test {
namespace {

constexpr Word32 kMin = -2147483647 - 1;
constexpr Word32 kMax = 2147483647;

#define SAME(name) expectSameFunction(#name, ::name, reference::name)

TEST(Operators, EqualTheReference) {
  SAME(VORN_saturate);
  SAME(VORN_add);
  SAME(VORN_sub);
  SAME(VORN_abs_s);
  SAME(VORN_negate);
  SAME(VORN_extract_h);
  SAME(VORN_extract_l);
  SAME(VORN_L_mult);
  SAME(VORN_mult);
  SAME(VORN_mult_r);
  SAME(VORN_round);
  SAME(VORN_L_mac);
  SAME(VORN_L_msu);
  SAME(VORN_L_add);
  SAME(VORN_L_sub);
  SAME(VORN_L_negate);
  SAME(VORN_L_abs);
  SAME(VORN_L_deposit_h);
  SAME(VORN_L_deposit_l);
  SAME(VORN_norm_s);
  SAME(VORN_norm_l);
  SAME(VORN_shl);
  SAME(VORN_shr);
  SAME(VORN_L_shl);
  SAME(VORN_L_shr);
  SAME(VORN_L_shr_r);
  SAME(VORN_Mpy_32_16);
  SAME(VORN_L_mult32);
  SAME(VORN_L_mpy_ll);
  SAME(VORN_div_s);
  SAME(VORN_L_div32);
  SAME(WVQE_L_div32);
  SAME(WVQE_DIV32_16_Q8);
  SAME(WVQE_DIV32_16_Q15);
  SAME(WVQE_iLog4);
}

// What the reference could get wrong as the library does, and single operands that random ones miss.
TEST(Operators, Landmarks) {
  EXPECT_EQ(VORN_mult_r(-32768, -32768), 32767);
  EXPECT_EQ(VORN_round(0x7FFF8000), 32767);
  EXPECT_EQ(VORN_shl(1, 15), 32767);
  EXPECT_EQ(VORN_L_shr(-5, 1), -3);
  EXPECT_EQ(VORN_L_shr_r(-5, 1), -2);
  EXPECT_EQ(VORN_L_shr_r(kMax, 32), 0);
  EXPECT_EQ(VORN_norm_l(0), 0);
  EXPECT_EQ(VORN_norm_l(-1), 31);
  EXPECT_EQ(VORN_Mpy_32_16(kMax, 32767), 0x7FFEFFFF);
  // The word's lowest 65536 values times -1: one unit early, then less the low half.
  EXPECT_EQ(VORN_Mpy_32_16(kMin, -32768), kMax);
  EXPECT_EQ(VORN_Mpy_32_16(kMin + 1, -32768), kMax - 1);
  EXPECT_EQ(VORN_Mpy_32_16(kMin + 65535, -32768), kMax - 65535);
  EXPECT_EQ(VORN_Mpy_32_16(kMin + 65536, -32768), kMax - 65535);
  EXPECT_EQ(VORN_L_mpy_ll(-1, 1), -1);
  EXPECT_EQ(VORN_L_mult32(kMin, kMin), kMax);
  EXPECT_EQ(VORN_L_mult32(kMin, kMin + 65535), kMax - 65535);
  EXPECT_EQ(VORN_L_div32(5, 0), kMax) << "every step subtracts";
}

TEST(Operators, TruncatesAndSaturatesDoubles) {
  EXPECT_EQ(VORN_L_saturate(2147483647.5), kMax);
  EXPECT_EQ(VORN_L_saturate(-2147483648.5), kMin);
  EXPECT_EQ(VORN_L_saturate(2147483646.0), kMax - 1);
  EXPECT_EQ(VORN_L_saturate(-2147483647.0), kMin + 1);
  EXPECT_EQ(VORN_L_saturate(1e300), kMax);
  EXPECT_EQ(VORN_L_saturate(-2.9), -2);
  EXPECT_EQ(VORN_L_saturate(std::numeric_limits<double>::quiet_NaN()), 0);
}

// Q15 quotients over their domain.
TEST(Operators, ShortDivisionEqualsTheReferenceOverItsDomain) {
  for (int den = 1; den <= 32767; den += den < 200 ? 1 : 37) {
    for (int num = 0; num <= den; num += den < 2000 ? 1 : 29) {
      ASSERT_EQ(VORN_div_s(num, den), reference::VORN_div_s(num, den)) << num << "/" << den;
    }
  }
}

}  // namespace
}  // namespace arvessa::test
