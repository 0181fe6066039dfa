// SPDX-License-Identifier: Apache-2.0
// Random operands.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "ArvessaTypes.h"

namespace arvessa::test {

// xorshift64*: the same numbers everywhere.
class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed * 2 + 1) {}
  // Numbers made of these bytes, and when they are used up, others that follow from them.
  explicit Random(std::span<const std::uint8_t> bytes) : given_(bytes) {
    for (const std::uint8_t byte : bytes) state_ = (state_ ^ byte) * 1099511628211ULL;
    state_ |= 1;
  }

  // Its upper half, at least, is random.
  std::uint64_t next() {
    if (!given_.empty()) return std::uint64_t{given(4)} << 32;
    state_ ^= state_ >> 12;
    state_ ^= state_ << 25;
    state_ ^= state_ >> 27;
    return state_ * 2685821657736338717ULL;
  }
  int below(int bound) {
    const bool isShort = bound <= 256 && !given_.empty();
    return static_cast<int>((isShort ? given(1) : next() >> 33) % static_cast<unsigned>(bound));
  }
  // Whether there are bytes left of those that were given.
  bool isGiven() const { return !given_.empty(); }

  // Every magnitude is as likely as every other; the ends of the range, powers of two and their
  // neighbours, and repetitions are frequent.
  Word32 word32() {
    const int kind = below(8);
    if (kind == 0) last_ = neighbourOf(kEnds[below(kEnds.size())]);
    if (kind == 1) last_ = neighbourOf(1 << below(31));
    if (kind > 2) last_ = static_cast<Word32>(next() >> 32) >> below(32);
    return last_;
  }
  Word16 word16() {
    if (below(6) == 0) return static_cast<Word16>(kEnds[below(kEnds.size())] >> 16);
    return static_cast<Word16>(static_cast<Word16>(next() >> 48) >> below(16));
  }
  // A word below 2^bits in magnitude, of either sign or of none.
  Word32 wordOf(int bits) { return static_cast<Word32>(next() >> 32) >> (31 - bits); }
  Word32 magnitude(int bits = 31) { return (wordOf(31) & 0x7FFFFFFF) >> (31 - bits); }
  // Every number of bits is as likely as every other.
  Word32 anyMagnitude() { return magnitude() >> below(31); }
  Word16 from(int least, int most) { return static_cast<Word16>(least + below(most - least + 1)); }

  void fill(Word32* block, std::size_t n, int bits) {
    for (std::size_t i = 0; i < n; ++i) block[i] = wordOf(bits);
  }

  void draw(Word16& word) { word = word16(); }
  void draw(Word32& word) { word = word32(); }
  void draw(std::uint32_t& word) { word = static_cast<std::uint32_t>(word32()); }

 private:
  static constexpr std::array<Word32, 8> kEnds = {2147483647,  -2147483647 - 1, 0,     0x40000000,
                                                  -0x40000000, 0x7FFF0000,      65536, -65536};

  Word32 neighbourOf(Word32 word) {
    return static_cast<Word32>(static_cast<std::uint32_t>(word) +
                               static_cast<std::uint32_t>(below(5) - 2));
  }

  std::uint32_t given(std::size_t count) {
    std::uint32_t value = 0;
    for (; count > 0 && !given_.empty(); --count, given_ = given_.subspan(1)) {
      value = value << 8 | given_.front();
    }
    return value;
  }

  std::span<const std::uint8_t> given_;
  std::uint64_t state_ = 14695981039346656037ULL;
  Word32 last_ = 0;
};

}  // namespace arvessa::test
