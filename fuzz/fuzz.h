// SPDX-License-Identifier: Apache-2.0
// What the fuzz targets share: comparisons that end the program, and counts of what was executed.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>
#include <type_traits>

#include "support/random.h"

namespace arvessa::fuzz {

using test::Random;

[[noreturn]] inline void fail(const char* what) {
  std::fprintf(stderr, "FAILED: %s\n", what);
  std::abort();
}

inline void expect(bool holds, const char* what) {
  if (!holds) fail(what);
}

// To the bit: zeros of different signs differ.
template <class Range>
void expectSame(const Range& gotRange, const Range& wantedRange, const char* what) {
  const std::span got(gotRange), want(wantedRange);
  expect(got.size() == want.size(), what);
  for (std::size_t i = 0; i < got.size(); ++i) {
    if (std::memcmp(&got[i], &want[i], sizeof got[i]) == 0) continue;
    std::fprintf(stderr, "[%zu]: %.9g, expected %.9g\n", i, static_cast<double>(got[i]),
                 static_cast<double>(want[i]));
    fail(what);
  }
}

// Printed when the program ends.
class Count {
 public:
  explicit Count(const char* of) : of_(of) {}
  Count(const Count&) = delete;
  Count& operator=(const Count&) = delete;
  ~Count() { std::fprintf(stderr, "executed %llu %s\n", count_, of_); }
  void operator+=(std::size_t more) { count_ += more; }

 private:
  const char* of_;
  unsigned long long count_ = 0;
};

// One input of a target. The bytes decide what is called with what.
void runInput(std::span<const std::uint8_t> bytes);

}  // namespace arvessa::fuzz
