// SPDX-License-Identifier: Apache-2.0
// Functions of one number, and quotients, over whole domains: against the reference, or at the ends
// of the numerators that share a quotient. Those suffice where an estimate that cannot fall while
// the numerator grows is corrected by one: between two ends it is no further off.
//
// usage: domains KEY WHOLE STEP     looks at the first WHOLE numbers of a statement's domain and at every
//                                   STEP-th beyond; prints one for which the statement does not hold
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "arithmetic/division.h"
#include "arithmetic/elementary_functions.h"
#include "kernels/coefficients.h"
#include "kernels/gain_curves.h"
#include "kernels/kernels.h"
#include "kernels/vector_unit.h"
#include "reference/arithmetic.h"
#include "reference/engine.h"

namespace {

using namespace arvessa;
using kernels::splat;
using kernels::Words;
using Number = std::uint64_t;

constexpr Number kCurveFrom = 1 << 15;  // the curves' domain begins at its negative

Word32 word(Number i) { return static_cast<Word32>(i); }
Word32 curveArgument(Number i) { return static_cast<Word32>(i - kCurveFrom); }

// Whether all quotients below a limit are exact, of numerators below another one.
template <class Quotient>
bool endsAreExact(Number den, Number quotients, Number numerators, Quotient quotient) {
  for (Number q = 0; q < quotients && q * den < numerators; ++q) {
    const Number last = q * den + den - 1;
    if (quotient(q * den, den) != q) return false;
    if (quotient(last < numerators ? last : numerators - 1, den) != q) return false;
  }
  return true;
}

template <auto kFunction>
Number ofVectors(Number num, Number den) {
  return static_cast<Number>(kFunction(splat(word(num)), splat(word(den)))[1]);
}

Number shortQuotientOf(Number num, Number den) {
  return static_cast<Number>(
      shortQuotient(static_cast<std::uint32_t>(num), static_cast<std::uint32_t>(den)));
}

// floor(x 4^(6 - log4)), in the bits that a mantissa has.
bool isLog4(Number i) {
  const Word32 x = word(i + 1);
  const auto [exponent, mantissa] = kernels::log4Of(splat(x));
  const int log4 = (31 - __builtin_clz(static_cast<unsigned>(x))) / 2;
  return exponent[1] == log4 &&
         mantissa[1] == (log4 < 6 ? x << (12 - 2 * log4) : x >> (2 * log4 - 12));
}

// Exponents -24..7 above 24 bits of x.
bool isScaled(Number i) {
  const auto x = static_cast<std::int64_t>(i & 0xFFFFFF);
  const int n = static_cast<int>(i >> 24) - 24;
  const std::int64_t want = n < 0 ? x >> -n : x << n;
  return want > kMax32 || kernels::scaled(splat(word(i & 0xFFFFFF)), splat(n))[2] == want;
}

struct Statement {
  const char* key;
  Number count;
  bool (*holds)(Number);
};

constexpr Number kWords = Number{1} << 32;
const Statement kStatements[] = {
    {"exp2", 1 << 16,
     [](Number i) { return exp2Q11(low16(word(i))) == reference::WVQE_ExpTmp(low16(word(i))); }},
    {"exp", 1 << 16,
     [](Number i) { return expQ11(low16(word(i))) == reference::WVQE_Exp(low16(word(i))); }},
    {"log4", kWords,
     [](Number i) {
       const auto x = static_cast<std::uint32_t>(i);
       return floorLog4(x) == reference::WVQE_iLog4(x);
     }},
    {"root", kWords / 2,
     [](Number i) { return squareRoot(word(i)) == reference::WVQE_Sqrt(word(i)); }},
    {"amplitude", kWords,
     [](Number i) {
       const Word32 v = curveArgument(i);
       return amplitudeFactor(v) == reference::WVQE_Hypergeom_Gain(v);
     }},
    {"presence", kWords,
     [](Number i) {
       const Word32 x = curveArgument(i);
       return presenceCurve(x) == reference::WVQE_Qcurve(x);
     }},
    {"coefficient", kWords,
     [](Number i) {
       const Word32 y = word(i);
       return lMult32ByCoefficient(kernels::kDeemphasis, y) ==
                  reference::VORN_L_mult32(kernels::kDeemphasis, y) &&
              lMult32ByCoefficient(kernels::kPreemphasis, y) ==
                  reference::VORN_L_mult32(kernels::kPreemphasis, y);
     }},
    {"short quotient", 65535,
     [](Number i) { return endsAreExact(i + 1, 32769, kWords / 2, shortQuotientOf); }},
    {"quotient", 32767,
     [](Number i) { return endsAreExact(i + 1, 65536, kWords / 2, ofVectors<kernels::quotient>); }},
    {"small quotient", 32767,
     [](Number i) {
       return endsAreExact(i + 1, 1 << 23, 1 << 23, ofVectors<kernels::smallQuotient>);
     }},
    {"log4 of four", kWords / 2 - 1, isLog4},
    {"scaled", Number{1} << 29, isScaled},
};

// In two threads.
Number counterexample(const Statement& statement, Number whole, Number step) {
  const Number count = statement.count;
  std::atomic<Number> found = count;
  const auto half = [&](bool odd) {
    const auto lookFrom = [&](Number first, Number end, Number pace) {
      for (Number i = odd ? first + pace : first; i < end && found == count; i += 2 * pace) {
        if (!statement.holds(i)) found = i;
      }
    };
    lookFrom(0, whole < count ? whole : count, 1);
    lookFrom(whole, count, step);
  };
  std::thread other(half, true);
  half(false);
  other.join();
  return found;
}

}  // namespace

int main(int count, char** words) {
  for (const Statement& statement : kStatements) {
    if (count != 4 || std::strcmp(words[1], statement.key) != 0) continue;
    const auto number = [&](int i) { return std::strtoull(words[i], nullptr, 10); };
    const Number found = counterexample(statement, number(2), number(3));
    if (found != statement.count)
      std::printf("number %llu\n", static_cast<unsigned long long>(found));
    return 0;
  }
  std::fprintf(stderr, "no such statement\n");
  return 2;
}
