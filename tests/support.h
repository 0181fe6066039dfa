#pragma once
// Random operands and comparisons for tests against the model.

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <sstream>
#include <string>
#include <tuple>
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

  // Every magnitude is as likely as every other, and the ends of the range are frequent.
  Word32 word32() {
    if (below(6) == 0) {
      return static_cast<Word32>(static_cast<std::uint32_t>(kEnds[below(kEnds.size())]) +
                                 static_cast<std::uint32_t>(below(5) - 2));
    }
    return static_cast<Word32>(next() >> 32) >> below(32);
  }
  Word16 word16() {
    if (below(6) == 0) return static_cast<Word16>(kEnds[below(kEnds.size())] >> 16);
    return static_cast<Word16>(static_cast<Word16>(next() >> 48) >> below(16));
  }
  // A word below 2^bits in magnitude.
  Word32 wordOf(int bits) { return static_cast<Word32>(next() >> 32) >> (31 - bits); }

  void fill(Word32* block, std::size_t n, int bits) {
    for (std::size_t i = 0; i < n; ++i) block[i] = wordOf(bits);
  }

  template <class T>
  T draw();

 private:
  static constexpr std::array<Word32, 8> kEnds = {2147483647,  -2147483647 - 1, 0,     0x40000000,
                                                  -0x40000000, 0x7FFF0000,      65536, -65536};
  std::uint64_t state_;
};

template <>
inline Word32 Random::draw<Word32>() {
  return word32();
}
template <>
inline Word16 Random::draw<Word16>() {
  return word16();
}
template <>
inline std::uint32_t Random::draw<std::uint32_t>() {
  return static_cast<std::uint32_t>(word32());
}

// Calls a library function and its model with the same random operands.
template <class Result, class... Args>
void expectSameFunction(const char* name, Result (*library)(Args...), Result (*model)(Args...),
                        int rounds = 200000) {
  Random random(std::strlen(name));
  for (int i = 0; i < rounds; ++i) {
    const std::tuple<Args...> args{random.draw<Args>()...};
    const Result got = std::apply(library, args);
    const Result want = std::apply(model, args);
    if (got != want) {
      std::ostringstream operands;
      std::apply([&](auto... a) { ((operands << ' ' << a), ...); }, args);
      FAIL() << name << operands.str() << ": " << got << ", model " << want;
    }
  }
}

template <class T>
void expectSameArray(const T* got, const T* want, std::size_t n, const std::string& what) {
  for (std::size_t i = 0; i < n; ++i) {
    if (std::memcmp(got + i, want + i, sizeof(T)) != 0) {
      FAIL() << what << "[" << i << "]: " << got[i] << ", expected " << want[i];
    }
  }
}

}  // namespace arvessa::test
