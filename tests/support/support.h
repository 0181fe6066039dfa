// SPDX-License-Identifier: Apache-2.0
// Rounds of random operands, and comparisons.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "support/random.h"

namespace arvessa::test {

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
