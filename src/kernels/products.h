// SPDX-License-Identifier: Apache-2.0
#pragma once
// Products by 16-bit factors that a multiplication of the processor gives with the sum.

#include <cstdint>
#include <cstring>

#include "ArvessaTypes.h"
#include "arithmetic/operators.h"

#if defined(__ARM_FEATURE_DSP) && !defined(__ARM_BIG_ENDIAN)
#include <arm_acle.h>
#define ARVESSA_DSP_PRODUCTS
#endif

namespace arvessa::kernels {

// Two 16-bit factors in a row, at an address that is a multiple of 4.
struct FactorPair {
#ifdef ARVESSA_DSP_PRODUCTS
  std::int32_t both;
#else
  Word16 first;
  Word16 second = 0;
#endif
};
inline FactorPair loadPair(const Word16* from) {
  FactorPair pair;
  std::memcpy(&pair, __builtin_assume_aligned(from, 4), sizeof pair);
  return pair;
}

// A pair whose first factor this is; the second may be any.
inline FactorPair pairOf(Word16 first) { return {first}; }
inline Word16 firstOf(FactorPair f) {
#ifdef ARVESSA_DSP_PRODUCTS
  return static_cast<Word16>(f.both);
#else
  return f.first;
#endif
}
inline Word16 secondOf(FactorPair f) {
#ifdef ARVESSA_DSP_PRODUCTS
  return static_cast<Word16>(f.both >> 16);
#else
  return f.second;
#endif
}

// sum + floor(word f / 2^16), modulo 2^32, with the first or the second of two factors.
inline Word32 addByFirst(Word32 sum, Word32 word, FactorPair f) {
#ifdef ARVESSA_DSP_PRODUCTS
  return __smlawb(word, f.both, sum);
#else
  return sum + static_cast<Word32>((std::int64_t{word} * f.first) >> 16);
#endif
}
inline Word32 addBySecond(Word32 sum, Word32 word, FactorPair f) {
#ifdef ARVESSA_DSP_PRODUCTS
  return __smlawt(word, f.both, sum);
#else
  return sum + static_cast<Word32>((std::int64_t{word} * f.second) >> 16);
#endif
}

// floor(word factor / 2^15) of any word, for factors above -1.
inline Word32 productOfAny(Word32 word, Word16 factor) {
  return static_cast<Word32>((std::int64_t{word} * factor) >> 15);
}

// a + b, saturated.
inline Word32 addSaturated(Word32 a, Word32 b) {
#ifdef ARVESSA_DSP_PRODUCTS
  return __qadd(a, b);
#else
  return lAdd(a, b);
#endif
}

struct Point {
  Word32 re;
  Word32 im;
};
struct TwoPoints {
  Point a;
  Point b;
};

// Two points in a row, and one of a row: the pointer moves on. Where several registers are loaded
// and stored at once, they have to be in order.
#ifdef ARVESSA_DSP_PRODUCTS
inline TwoPoints loadTwoPoints(const Word32*& from) {
  register Word32 a asm("r4");
  register Word32 b asm("r5");
  register Word32 c asm("r6");
  register Word32 d asm("r8");
  asm("ldmia %0!, {r4, r5, r6, r8}"
      : "+r"(from), "=r"(a), "=r"(b), "=r"(c), "=r"(d)
      : "m"(*reinterpret_cast<const Word32(*)[4]>(from)));
  return {{a, b}, {c, d}};
}
inline void storeSum(Word32*& to, Point p) {
  register Word32 re asm("r0") = p.re;
  register Word32 im asm("r1") = p.im;
  asm("stmia %0!, {r0, r1}"
      : "+r"(to), "=m"(*reinterpret_cast<Word32(*)[2]>(to))
      : "r"(re), "r"(im));
}
inline void storeDifference(Word32*& to, Point p) {
  register Word32 re asm("r2") = p.re;
  register Word32 im asm("r3") = p.im;
  asm("stmia %0!, {r2, r3}"
      : "+r"(to), "=m"(*reinterpret_cast<Word32(*)[2]>(to))
      : "r"(re), "r"(im));
}
#else
inline TwoPoints loadTwoPoints(const Word32*& from) {
  const TwoPoints points = {{from[0], from[1]}, {from[2], from[3]}};
  from += 4;
  return points;
}
inline void storeSum(Word32*& to, Point p) {
  to[0] = p.re;
  to[1] = p.im;
  to += 2;
}
inline void storeDifference(Word32*& to, Point p) { storeSum(to, p); }
#endif

// floor(x y / 2^32): the upper word of one product.
inline Word32 upperProduct(Word32 x, Word32 y) {
  return static_cast<Word32>((std::int64_t{x} * y) >> 32);
}

}  // namespace arvessa::kernels
