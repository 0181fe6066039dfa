// SPDX-License-Identifier: Apache-2.0
// Functions of one number, and quotients, over their whole domains: against the reference, or at the
// ends of the numerators that share a quotient, which suffice where a quotient cannot fall while its
// numerator grows. Prints a line for each statement: what, domain, seconds, result.
//
// usage: domains quick|all
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <thread>
#include <vector>

#include "arithmetic/division.h"
#include "arithmetic/elementary_functions.h"
#include "kernels/gain_curves.h"
#include "reference/arithmetic.h"
#include "reference/engine.h"
#ifdef __SSE2__
#include "kernels/sse2.h"
#endif

namespace {

using namespace arvessa;

bool everything = false;
bool failed = false;

// Calls holds(i) for i in [0, count), in two threads; without `everything` for every `stride`-th.
template <class Holds>
void prove(const char* what, const char* domain, std::uint64_t count, std::uint64_t stride,
           Holds holds) {
  const auto started = std::chrono::steady_clock::now();
  const std::uint64_t step = everything ? 1 : stride;
  constexpr std::uint64_t kNone = ~std::uint64_t{0};
  std::atomic<std::uint64_t> found = kNone;
  const auto half = [&](std::uint64_t first) {
    for (std::uint64_t i = first; i < count && found == kNone; i += 2 * step) {
      if (!holds(i)) found = i;
    }
  };
  std::thread other(half, step);
  half(0);
  other.join();
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - started;
  std::printf("%s|%s", what, domain);
  if (step > 1) std::printf(", every %dth", static_cast<int>(step));
  std::printf("|%.1f|", seconds.count());
  if (found == kNone) {
    std::printf("proved\n");
  } else {
    std::printf("REFUTED by number %llu\n", static_cast<unsigned long long>(found.load()));
    failed = true;
  }
  std::fflush(stdout);
}

// Whether of all num with the quotient q the first and the last have it.
template <class Quotient>
bool endsAreExact(std::uint64_t q, std::uint64_t den, std::uint64_t limit, Quotient quotient) {
  const std::uint64_t first = q * den;
  if (first >= limit) return true;
  const std::uint64_t last = first + den - 1 < limit ? first + den - 1 : limit - 1;
  return quotient(first, den) == q && quotient(last, den) == q;
}

template <class Quotient>
bool allEndsAreExact(std::uint64_t den, std::uint64_t quotients, std::uint64_t limit,
                     Quotient quotient) {
  for (std::uint64_t q = 0; q < quotients && q * den < limit; ++q) {
    if (!endsAreExact(q, den, limit, quotient)) return false;
  }
  return true;
}

void functions() {
  const auto word = [](std::uint64_t i) { return static_cast<Word32>(i); };
  const auto half = [](std::uint64_t i) { return static_cast<Word16>(i); };
  prove("2^x: the reference", "2^16", 1 << 16, 1, [&](std::uint64_t i) {
    return exp2Q11(half(i)) == reference::WVQE_ExpTmp(half(i));
  });
  prove("e^x: the reference", "2^16", 1 << 16, 1, [&](std::uint64_t i) {
    return expQ11(half(i)) == reference::WVQE_Exp(half(i));
  });
  prove("floor(log4 x): the reference", "2^32", std::uint64_t{1} << 32, 1, [&](std::uint64_t i) {
    const auto x = static_cast<std::uint32_t>(i);
    return floorLog4(x) == reference::WVQE_iLog4(x);
  });
  prove("square root: the reference", "2^31", std::uint64_t{1} << 31, 17, [&](std::uint64_t i) {
    return squareRoot(word(i)) == reference::WVQE_Sqrt(word(i));
  });
  prove("T(v) / sqrt(v): the reference, table", "-2^15 <= v < 2^20", 33 << 15, 1,
        [&](std::uint64_t i) {
          const Word32 v = word(i) - (1 << 15);
          return amplitudeFactor(v) == reference::WVQE_Hypergeom_Gain(v);
        });
  prove("T(v) / sqrt(v): the reference", "2^32", std::uint64_t{1} << 32, 997,
        [&](std::uint64_t i) {
          return amplitudeFactor(word(i)) == reference::WVQE_Hypergeom_Gain(word(i));
        });
  prove("x / (x + 0.15): the reference, table", "-2^15 <= x < 2^20", 33 << 15, 1,
        [&](std::uint64_t i) {
          const Word32 x = word(i) - (1 << 15);
          return presenceCurve(x) == reference::WVQE_Qcurve(x);
        });
  prove("x / (x + 0.15): the reference", "2^32", std::uint64_t{1} << 32, 997,
        [&](std::uint64_t i) {
          return presenceCurve(word(i)) == reference::WVQE_Qcurve(word(i));
        });
  prove("shortQuotient() = floor(num / den)", "den < 2^16, quotient <= 2^15", 65535, 61,
        [&](std::uint64_t i) {
          return allEndsAreExact(i + 1, 32769, std::uint64_t{1} << 31,
                                 [](std::uint64_t num, std::uint64_t den) {
                                   return static_cast<std::uint64_t>(
                                       shortQuotient(static_cast<std::uint32_t>(num),
                                                     static_cast<std::uint32_t>(den)));
                                 });
        });
}

#ifdef __SSE2__
using kernels::splat;
using kernels::Words;

void vectorFunctions() {
  const auto word = [](std::uint64_t i) { return static_cast<Word32>(i); };
  const auto by = [](auto function) {
    return [function](std::uint64_t num, std::uint64_t den) {
      return static_cast<std::uint64_t>(
          function(splat(static_cast<Word32>(num)), splat(static_cast<Word32>(den)))[0]);
    };
  };
  prove("SSE2 quotient() = floor(num / den)", "den < 2^15, quotient < 2^16", 32767, 61,
        [&](std::uint64_t i) {
          return allEndsAreExact(i + 1, 65536, std::uint64_t{1} << 31, by(kernels::quotient));
        });
  prove("SSE2 smallQuotient() = floor(num / den)", "num < 2^23, den < 2^15", 32767, 1,
        [&](std::uint64_t i) {
          return allEndsAreExact(i + 1, 1 << 23, 1 << 23, by(kernels::smallQuotient));
        });
  prove("SSE2 log4Of(): exponent and mantissa", "0 < x < 2^31", (std::uint64_t{1} << 31) - 1, 3,
        [&](std::uint64_t i) {
          const Word32 x = word(i + 1);
          const auto [exponent, mantissa] = kernels::log4Of(splat(x));
          const int log4 = floorLog4(static_cast<std::uint32_t>(x));
          const int want = log4 < 6 ? x << 2 * (6 - log4) : x >> 2 * (log4 - 6);
          return exponent[1] == log4 && mantissa[1] == want;
        });
  prove("SSE2 scaled() = floor(x 2^n)", "x < 2^24, -24 <= n <= 7", std::uint64_t{1} << 29, 7,
        [&](std::uint64_t i) {
          const Word32 x = word(i & 0xFFFFFF);
          const int n = static_cast<int>(i >> 24) - 24;
          const std::int64_t want = n < 0 ? x >> -n : std::int64_t{x} << n;
          return want > kMax32 || kernels::scaled(splat(x), splat(n))[2] == want;
        });
}
#else
void vectorFunctions() {}
#endif

}  // namespace

int main(int count, char** words) {
  everything = count == 2 && std::strcmp(words[1], "all") == 0;
  functions();
  vectorFunctions();
  return failed ? 1 : 0;
}
