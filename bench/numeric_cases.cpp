// The numeric functions, 24 calls each: a frame needs most of them once per band.

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "cases.h"
#include "engine/engine_state.h"
#include "engine/gain_curves.h"
#include "fixedpoint/numeric_api.h"
#include "fixedpoint/operators_api.h"

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

using OperandRow = std::array<Operands, kBands>;

struct Calls {
  std::array<OperandRow, kBatch> rows{};
  std::array<Word32, kBands> results{};
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

Word16 low(Word32 value) { return static_cast<Word16>(value); }

}  // namespace

void addNumericCases(std::vector<Case>& cases) {
  cases.push_back(
      calls("VORN_div_s", 15, [](Word32 a, Word32 b) { return VORN_div_s(low(a), low(b)); }));
  cases.push_back(calls("VORN_L_div32", 31, VORN_L_div32));
  cases.push_back(calls("WVQE_L_div32", 31, [](Word32 a, Word32 b) { return WVQE_L_div32(b, a); }));
  cases.push_back(
      calls("WVQE_DIV32_16_Q8", 31, [](Word32 a, Word32 b) { return WVQE_DIV32_16_Q8(b, a); }));
  cases.push_back(calls("WVQE_DIV32_16_Q15", 31, WVQE_DIV32_16_Q15));
  cases.push_back(calls("WVQE_Sqrt", 31, [](Word32, Word32 b) { return WVQE_Sqrt(b); }));
  cases.push_back(calls("WVQE_Exp", 14, [](Word32 a, Word32) { return WVQE_Exp(low(-a)); }));
  cases.push_back(calls("WVQE_iLog4", 31, [](Word32, Word32 b) {
    return WVQE_iLog4(static_cast<std::uint32_t>(b));
  }));
  cases.push_back(
      calls("WVQE_Hypergeom_Gain", 16, [](Word32, Word32 b) { return WVQE_Hypergeom_Gain(b); }));
  cases.push_back(calls("WVQE_Qcurve", 14, [](Word32, Word32 b) { return WVQE_Qcurve(b); }));
}

}  // namespace arvessa::bench
