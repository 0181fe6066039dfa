// SPDX-License-Identifier: Apache-2.0
// The operators and numeric functions, on any operands.
#include <iterator>
#include <tuple>

#include "abi/exported_functions.h"
#include "abi/exported_operators.h"
#include "abi/exported_stages.h"
#include "kernels.h"
#include "reference/agc.h"
#include "reference/engine.h"

namespace arvessa::fuzz {
namespace {

Count executed("operators and numeric functions");
constexpr int kRounds = 1000;

template <auto kLibrary, auto kReference, class Result, class... Args>
void tryFunction(Random& random, Result (*)(Args...)) {
  executed += kRounds;
  for (int i = 0; i < kRounds; ++i) {
    std::tuple<Args...> operands;
    std::apply([&](auto&... operand) { (random.draw(operand), ...); }, operands);
    expect(std::apply(kLibrary, operands) == std::apply(kReference, operands), "operator");
  }
}

template <auto kLibrary, auto kReference>
void tryOne(Random& random) {
  tryFunction<kLibrary, kReference>(random, kLibrary);
}
#define ONE(name) tryOne<::name, reference::name>

}  // namespace

void tryOperators(Random& random) {
  constexpr void (*kTries[])(Random&) = {
      ONE(VORN_saturate),    ONE(VORN_add),          ONE(VORN_sub),         ONE(VORN_abs_s),
      ONE(VORN_negate),      ONE(VORN_extract_h),    ONE(VORN_extract_l),   ONE(VORN_L_mult),
      ONE(VORN_mult),        ONE(VORN_mult_r),       ONE(VORN_round),       ONE(VORN_L_mac),
      ONE(VORN_L_msu),       ONE(VORN_L_add),        ONE(VORN_L_sub),       ONE(VORN_L_negate),
      ONE(VORN_L_abs),       ONE(VORN_L_deposit_h),  ONE(VORN_L_deposit_l), ONE(VORN_norm_s),
      ONE(VORN_norm_l),      ONE(VORN_shl),          ONE(VORN_shr),         ONE(VORN_L_shl),
      ONE(VORN_L_shr),       ONE(VORN_L_shr_r),      ONE(VORN_div_s),       ONE(VORN_L_div32),
      ONE(VORN_Mpy_32_16),   ONE(VORN_L_mult32),     ONE(VORN_L_mpy_ll),    ONE(WVQE_L_div32),
      ONE(WVQE_DIV32_16_Q8), ONE(WVQE_DIV32_16_Q15), ONE(WVQE_Exp),         ONE(WVQE_ExpTmp),
      ONE(WVQE_iLog4),       ONE(AGC_norm_l)};
  kTries[random.below(std::size(kTries))](random);
}

}  // namespace arvessa::fuzz
