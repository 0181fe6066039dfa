// SPDX-License-Identifier: Apache-2.0
#include "arithmetic/block.h"

#include "arithmetic/operators.h"

namespace arvessa {
namespace {

// The magnitudes of the words, ORed: the highest set bit is that of the largest magnitude.
std::uint32_t magnitudeBits(std::span<const Word32> words) {
  std::uint32_t bits = 0;
#pragma GCC unroll 4
  for (const Word32 word : words) {
    const auto sign = static_cast<std::uint32_t>(word >> 31);
    bits |= (static_cast<std::uint32_t>(word) ^ sign) - sign;
  }
  return bits;
}

[[gnu::noinline]] void shiftRight(std::span<Word32> words, int count) {
  const int bounded = count > 31 ? 31 : count;
#pragma GCC unroll 4
  for (Word32& word : words) word >>= bounded;
}

// Without saturation: the words have the headroom.
[[gnu::noinline]] void shiftLeft(std::span<Word32> words, int count) {
#pragma GCC unroll 4
  for (Word32& word : words) {
    word = static_cast<Word32>(static_cast<std::uint32_t>(word) << count);
  }
}

}  // namespace

UsedBits usedBits(std::span<const Word32> words) {
  UsedBits bits = 0;
#pragma GCC unroll 4
  for (const Word32 word : words) bits |= usedBits(word);
  return bits;
}

Normalisation normalisationOf(std::uint32_t magnitudes, Word16 headroom) {
  // A magnitude of 2^31 counts as 2^31 - 1, without redundant sign bits either way.
  const int norm = magnitudes == 0 || magnitudes > kAllBits ? 0 : std::countl_zero(magnitudes) - 1;
  const int left = headroom < 0 ? 31 : headroom > 31 ? 0 : 31 - headroom;
  return {norm - headroom, bitsBelow(left)};
}

Block normalised(std::span<Word32> words, Word16 headroom) {
  const auto [shift, bits] = normalisationOf(magnitudeBits(words), headroom);
  if (shift < 0) {
    shiftRight(words, -shift);
  } else {
    shiftLeft(words, shift > 31 ? 31 : shift);
  }
  return {words, bits, static_cast<Word16>(shift)};
}

void denormalise(const Block& block, Word16 shift) {
  if (shift == 0) return;
  if (shift > 0) {
    shiftRight(block.words, shift);
    return;
  }
  const int left = -shift;
  if (left < 31) {
    const UsedBits fitting = bitsBelow(31 - left);
    if (block.bits <= fitting || usedBits(block.words) <= fitting) {
      shiftLeft(block.words, left);
      return;
    }
  }
  const auto bounded = static_cast<Word16>(left > 32 ? 32 : left);
  for (Word32& word : block.words) word = lShl(word, bounded);
}

}  // namespace arvessa
