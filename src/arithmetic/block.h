// SPDX-License-Identifier: Apache-2.0
#pragma once
// Block floating point: the words of a block share one exponent, so that it can pass a transform
// with the largest usable amplitude. What is known of the size of the words travels with the block,
// so that no stage scans what the stage before has scanned or bounded.

#include <bit>
#include <cstdint>
#include <span>

#include "ArvessaTypes.h"

namespace arvessa {

// The bits that the words of a block use: x, or ~x if x is negative, of all words ORed, or a bound
// of that. With b bits every word lies in -2^b .. 2^b - 1.
using UsedBits = std::uint32_t;
inline constexpr UsedBits kAllBits = 0x7FFFFFFF;  // any word, or nothing is known

constexpr UsedBits usedBits(Word32 word) { return static_cast<UsedBits>(word ^ (word >> 31)); }

// Of all the words.
UsedBits usedBits(std::span<const Word32> words);

// All bits below 2^b.
constexpr UsedBits bitsBelow(int b) { return (UsedBits{1} << b) - 1; }

// The bound for words of up to twice the size.
constexpr UsedBits doubled(UsedBits bits) {
  return bits > bitsBelow(30) ? kAllBits : bits << 1 | 1;
}
static_assert(doubled(0x40000000) == kAllBits && doubled(0x3FFFFFFF) == kAllBits);

// Words to be written, with their exponent: a word is its value times 2^exponent.
struct Block {
  std::span<Word32> words;
  UsedBits bits = kAllBits;
  Word16 exponent = 0;
};

// Words to be read.
struct ConstBlock {
  // NOLINTNEXTLINE(google-explicit-constructor): a Block is one that may be written, too
  constexpr ConstBlock(const Block& block)
      : words(block.words), bits(block.bits), exponent(block.exponent) {}
  constexpr ConstBlock(std::span<const Word32> from, UsedBits bound)
      : words(from), bits(bound), exponent(0) {}

  std::span<const Word32> words;
  UsedBits bits;
  Word16 exponent;
};

// Shifts `words` in place, left or flooring right, so that the largest magnitude lies in
// 2^(30 - headroom) .. 2^(31 - headroom). The exponent is the left shift: -headroom for a block of
// zeros. headroom: 0..30.
Block normalised(std::span<Word32> words, Word16 headroom);

// That shift and what bounds the words then, from the magnitudes of all words ORed.
struct Normalisation {
  int shift;
  UsedBits bits;
};
Normalisation normalisationOf(std::uint32_t magnitudes, Word16 headroom);

// Takes 2^shift out of the words: shifts them right, flooring, or left by -shift, saturating.
void denormalise(const Block& block, Word16 shift);

}  // namespace arvessa
