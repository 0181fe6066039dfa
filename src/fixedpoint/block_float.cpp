#include "fixedpoint/block_float.h"

#include "fixedpoint/lanes.h"
#include "fixedpoint/operators.h"

namespace arvessa {
namespace {

// The magnitudes of n words, bitwise ORed: their highest set bit is that of the largest magnitude.
std::uint32_t magnitudeBits(const Word32* block, int n) {
  std::uint32_t bits = 0;
  for (int i = 0; i < n; ++i) {
    const auto sign = static_cast<std::uint32_t>(block[i] >> 31);
    bits |= (static_cast<std::uint32_t>(block[i]) ^ sign) - sign;
  }
  return bits;
}

void shiftRight(Word32* x, int n, int count) {
  const int bounded = count > 31 ? 31 : count;
  for (int i = 0; i < n; ++i) x[i] >>= bounded;
}

// Without saturation: the block has the headroom.
void shiftLeft(Word32* x, int n, int count) {
  for (int i = 0; i < n; ++i) {
    x[i] = static_cast<Word32>(static_cast<std::uint32_t>(x[i]) << count);
  }
}

}  // namespace
}  // namespace arvessa

extern "C" {

Word16 WVQE_Block_Norm(Word32* x, Word16 n, Word16 headroom) {
  using namespace arvessa;
  const std::uint32_t bits = magnitudeBits(x, n);
  // A magnitude of 2^31 counts as 2^31 - 1, without redundant sign bits either way.
  const int norm = bits == 0 || bits > 0x7FFFFFFF ? 0 : std::countl_zero(bits) - 1;
  const int shift = norm - headroom;
  if (shift < 0) {
    shiftRight(x, n, -shift);
  } else {
    shiftLeft(x, n, shift > 31 ? 31 : shift);
  }
  return static_cast<Word16>(shift);
}

void WVQE_Block_Denorm(Word32* x, Word16 n, Word16 shift) {
  using namespace arvessa;
  if (shift > 0) {
    shiftRight(x, n, shift);
    return;
  }
  const int left = -shift;
  if (left == 0) return;
  if (left < 31 && usedBits(x, n) < (std::uint32_t{1} << (31 - left))) {
    shiftLeft(x, n, left);
    return;
  }
  const auto bounded = static_cast<Word16>(left > 32 ? 32 : left);
  for (int i = 0; i < n; ++i) x[i] = lShl(x[i], bounded);
}

}  // extern "C"
