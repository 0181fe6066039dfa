// SPDX-License-Identifier: Apache-2.0
#pragma once
// The operations of SSE2 that the vector kernels are written in: four words at a time, none of
// which may saturate. Sums, shifts and comparisons are those of the compiler's vector types;
// products, packing, gathering and flags are written for the unit.

#include <emmintrin.h>

#include <cstdint>
#include <cstring>

#include "ArvessaTypes.h"
#include "arithmetic/block.h"

namespace arvessa::kernels {

using Words = Word32 __attribute__((vector_size(16)));

inline Words load(const Word32* from) {
  Words words;
  std::memcpy(&words, from, sizeof words);
  return words;
}
inline void store(Word32* to, Words words) { std::memcpy(to, &words, sizeof words); }

inline Words splat(Word32 word) { return Words{word, word, word, word}; }

// Two words from each of two places.
inline Words joinPairs(const Word32* first, const Word32* second) {
  return reinterpret_cast<Words>(
      _mm_unpacklo_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(first)),
                         _mm_loadl_epi64(reinterpret_cast<const __m128i*>(second))));
}

// Four Q15 factors, each once in the lower and once in the upper half of a word.
struct Factors {
  __m128i low;
  __m128i high;
};

inline Factors splatFactor(Word16 factor) {
  const __m128i words = _mm_set1_epi32(factor);
  const __m128i high = _mm_slli_epi32(words, 16);
  return {_mm_srli_epi32(high, 16), high};
}

inline Factors loadFactors(const Word16* from) {
  const __m128i packed = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(from));
  const __m128i zero = _mm_setzero_si128();
  return {_mm_unpacklo_epi16(packed, zero), _mm_unpacklo_epi16(zero, packed)};
}

// Four factors, each for two neighbouring words of eight.
struct PairFactors {
  Factors first;
  Factors second;
};
inline PairFactors spreadFactors(const Word16* from) {
  const Factors each = loadFactors(from);
  return {{_mm_unpacklo_epi32(each.low, each.low), _mm_unpacklo_epi32(each.high, each.high)},
          {_mm_unpackhi_epi32(each.low, each.low), _mm_unpackhi_epi32(each.high, each.high)}};
}

// Cosine and sine of two twiddle pairs, each for the two words of a complex number.
struct Twiddles {
  Factors cosine;
  Factors sine;
};

inline Twiddles spreadTwiddles(__m128i pairs) {
  const __m128i upper = _mm_set1_epi32(-65536);
  return {{_mm_andnot_si128(upper, pairs), _mm_slli_epi32(pairs, 16)},
          {_mm_srli_epi32(pairs, 16), _mm_and_si128(upper, pairs)}};
}

inline Twiddles splatTwiddle(const Word16* pair) {
  int word = 0;
  std::memcpy(&word, pair, sizeof word);
  return spreadTwiddles(_mm_set1_epi32(word));
}

// The pairs at `from` and after it, in this order and the other way round.
inline Twiddles loadTwiddles(const Word16* from) {
  const __m128i pairs = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(from));
  return spreadTwiddles(_mm_unpacklo_epi32(pairs, pairs));
}
inline Twiddles loadTwiddlesReversed(const Word16* from) {
  const __m128i pairs = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(from));
  return spreadTwiddles(_mm_shuffle_epi32(pairs, _MM_SHUFFLE(0, 0, 1, 1)));
}

// Words that may be multiplied by mulQ15: |x| < 2^31 - 2^16, a little less than its limit.
inline constexpr UsedBits kFactorBits = 0x7FFEFFFF;

// floor(x f / 2^15) for |x| < 2^31 - 2^15. With x = 65536 h + l, both halves signed: 2 h f +
// floor(l f / 2^15), two 16 x 16-bit products.
inline Words mulQ15(Words x, Factors f) {
  const auto word = reinterpret_cast<__m128i>(x);
  const __m128i rounded = _mm_add_epi32(word, _mm_set1_epi32(0x8000));
  const __m128i high = _mm_madd_epi16(rounded, f.high);
  const __m128i low = _mm_madd_epi16(word, f.low);
  return reinterpret_cast<Words>(_mm_add_epi32(_mm_slli_epi32(high, 1), _mm_srai_epi32(low, 15)));
}

// floor(h f / 2^15) of the upper halves h of any words.
inline Words mulHighQ15(Words x, Factors f) {
  return reinterpret_cast<Words>(
      _mm_srai_epi32(_mm_madd_epi16(reinterpret_cast<__m128i>(x), f.high), 15));
}

// re^2 + im^2 of four pairs, modulo 2^32.
inline Words squaredMagnitudes(const Word16* pairs) {
  const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pairs));
  return reinterpret_cast<Words>(_mm_madd_epi16(v, v));
}

// Four 16-bit words in a row, or from the places that a table gives.
using FourHalves = __m128i;
inline FourHalves loadHalves(const Word16* from) {
  return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(from));
}
inline FourHalves gatherHalves(const Word16* from, const Word32* places) {
  return _mm_setr_epi16(from[places[0]], from[places[1]], from[places[2]], from[places[3]], 0, 0, 0,
                        0);
}

// a b + c d, which fit a word.
inline Words sumOfProducts(FourHalves a, FourHalves b, FourHalves c, FourHalves d) {
  return reinterpret_cast<Words>(
      _mm_madd_epi16(_mm_unpacklo_epi16(a, c), _mm_unpacklo_epi16(b, d)));
}

// 1 where a word of the mask is -1, 0 where it is 0; and back.
inline void storeFlags(unsigned char* to, Words mask) {
  const auto words = reinterpret_cast<__m128i>(-mask);
  const __m128i halves = _mm_packs_epi32(words, words);
  const int bytes = _mm_cvtsi128_si32(_mm_packus_epi16(halves, halves));
  std::memcpy(to, &bytes, sizeof bytes);
}
inline Words loadFlags(const unsigned char* from) {
  int bytes = 0;
  std::memcpy(&bytes, from, sizeof bytes);
  const __m128i zero = _mm_setzero_si128();
  const __m128i halves = _mm_unpacklo_epi8(_mm_cvtsi32_si128(bytes), zero);
  return reinterpret_cast<Words>(_mm_unpacklo_epi16(halves, zero)) != 0;
}

// Four words, saturated to 16 bits.
inline void storeSaturated(Word16* to, Words x) {
  const auto word = reinterpret_cast<__m128i>(x);
  _mm_storel_epi64(reinterpret_cast<__m128i*>(to), _mm_packs_epi32(word, word));
}

}  // namespace arvessa::kernels
