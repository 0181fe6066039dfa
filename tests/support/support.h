// SPDX-License-Identifier: Apache-2.0
// Random operands, rounds of them, and comparisons.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "ArvessaTypes.h"

namespace arvessa::test {

// xorshift64*: the same numbers everywhere.
class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed * 2 + 1) {}

  std::uint64_t next() {
    state_ ^= state_ >> 12;
    state_ ^= state_ << 25;
    state_ ^= state_ >> 27;
    return state_ * 2685821657736338717ULL;
  }
  int below(int bound) { return static_cast<int>((next() >> 33) % static_cast<unsigned>(bound)); }

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

  std::uint64_t state_;
  Word32 last_ = 0;
};

// Rounds of all kinds until one of them fails.
template <class Kind, class Body>
void forEach(std::initializer_list<Kind> kinds, int rounds, Body body) {
  for (const Kind kind : kinds) {
    for (int round = 0; round < rounds; ++round) {
      SCOPED_TRACE(testing::Message() << "kind " << kind << ", round " << round);
      body(kind);
      if (testing::Test::HasFailure()) return;
    }
  }
}

// To the bit: zeros of different signs differ.
template <class T>
void expectSameArray(const T* got, const T* want, std::size_t n, const std::string& what) {
  for (std::size_t i = 0; i < n; ++i) {
    if (std::memcmp(got + i, want + i, sizeof(T)) != 0) {
      FAIL() << what << "[" << i << "]: " << got[i] << ", expected " << want[i];
    }
  }
}
template <class T, std::size_t kSize>
void expectSameArray(const T (&got)[kSize], const T (&want)[kSize], const std::string& what) {
  expectSameArray(got, want, kSize, what);
}

// FNV-1a over little-endian bytes.
template <class T>
std::uint64_t checksum(const T* values, std::size_t n) {
  std::uint64_t hash = 14695981039346656037ULL;
  for (std::size_t i = 0; i < n; ++i) {
    for (std::size_t bit = 0; bit < 8 * sizeof(T); bit += 8) {
      hash = (hash ^ (static_cast<std::uint32_t>(values[i]) >> bit & 0xFF)) * 1099511628211ULL;
    }
  }
  return hash;
}

}  // namespace arvessa::test
