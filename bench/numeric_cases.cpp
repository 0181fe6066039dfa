// SPDX-License-Identifier: Apache-2.0
// The numeric functions, 24 calls each: a frame needs most of them once per band. The stages have
// them inline; here they are called by their exported names, so that it is the library's code that
// counts.

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "abi/exported_functions.h"
#include "abi/exported_operators.h"
#include "abi/exported_stages.h"
#include "arithmetic/operators.h"
#include "cases.h"
#include "kernels/kernels.h"

namespace arvessa::bench {
namespace {

struct Operands {
  Word32 small;  // 1 or more
  Word32 large;  // small or more
};

// Magnitudes of all sizes below 2^bits, as the powers of noisy speech have; from xorshift
// (Marsaglia 2003).
Operands drawOperands(std::uint32_t& state, int bits) {
  const auto draw = [&] {
    state ^= state << 13;
    state ^= state >> 17;
    state ^= state << 5;
    const std::uint32_t magnitude = state >> (32 - bits);
    return static_cast<Word32>((magnitude >> (state % static_cast<unsigned>(bits))) | 1U);
  };
  const Word32 a = draw();
  const Word32 b = draw();
  return a < b ? Operands{a, b} : Operands{b, a};
}

using OperandRow = std::array<Operands, kernels::kBands>;

struct Calls {
  std::array<OperandRow, kBatch> rows{};
  std::array<Word32, kernels::kBands> results{};
};

// function(small, large), operands below 2^bits.
template <class Function>
Case calls(const char* name, int bits, Function function) {
  const auto make = [bits, function] {
    auto c = std::make_shared<Calls>();
    std::uint32_t state = 2463534242;
    for (OperandRow& row : c->rows) {
      for (Operands& operands : row) operands = drawOperands(state, bits);
    }
    return Work{{}, [c, function](int frame) {
                  const OperandRow& row = c->rows[static_cast<unsigned>(frame) % kBatch];
                  for (std::size_t i = 0; i < row.size(); ++i) {
                    c->results[i] = static_cast<Word32>(function(row[i].small, row[i].large));
                  }
                }};
  };
  return {std::string(name) + "/x24", make};
}

}  // namespace

void addNumericCases(std::vector<Case>& cases) {
  cases.push_back(
      calls("divS", 15, [](Word32 a, Word32 b) { return VORN_div_s(low16(a), low16(b)); }));
  cases.push_back(calls("lDiv32", 31, VORN_L_div32));
  cases.push_back(calls("quotient", 31, [](Word32 a, Word32 b) { return WVQE_L_div32(b, a); }));
  cases.push_back(
      calls("quotientQ8", 31, [](Word32 a, Word32 b) { return WVQE_DIV32_16_Q8(b, a); }));
  cases.push_back(calls("quotientQ15", 31, WVQE_DIV32_16_Q15));
  cases.push_back(calls("squareRoot", 31, [](Word32, Word32 b) { return WVQE_Sqrt(b); }));
  cases.push_back(calls("exp", 14, [](Word32 a, Word32) { return WVQE_Exp(low16(-a)); }));
  cases.push_back(calls(
      "floorLog4", 31, [](Word32, Word32 b) { return WVQE_iLog4(static_cast<std::uint32_t>(b)); }));
  cases.push_back(
      calls("amplitudeFactor", 16, [](Word32, Word32 b) { return WVQE_Hypergeom_Gain(b); }));
  cases.push_back(calls("presenceCurve", 14, [](Word32, Word32 b) { return WVQE_Qcurve(b); }));
}

}  // namespace arvessa::bench
