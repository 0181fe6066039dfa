// SPDX-License-Identifier: Apache-2.0
#pragma once
// Products by 16-bit factors that a multiplication of the processor gives with the sum.

#include <cstdint>
#include <cstring>

#include "ArvessaTypes.h"

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

// floor(x y / 2^32): the upper word of one product.
inline Word32 upperProduct(Word32 x, Word32 y) {
  return static_cast<Word32>((std::int64_t{x} * y) >> 32);
}

}  // namespace arvessa::kernels
