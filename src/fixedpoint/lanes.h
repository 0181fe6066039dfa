#pragma once
// Four 32-bit words at once, for kernels whose operands have headroom: no operation saturates.
//
// Arithmetic is that of the compiler's vector types, on any processor; only the product with a
// 16-bit factor is written for the vector unit where there is one (kHaveLanes). The scalar and the
// four-lane form of a kernel give the same bits.

#include <cstdint>
#include <cstring>

#include "fixedpoint/operators.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace arvessa {

using Lanes = Word32 __attribute__((vector_size(16)));

inline Lanes loadLanes(const Word32* from) {
  Lanes lanes;
  std::memcpy(&lanes, from, sizeof lanes);
  return lanes;
}
inline void storeLanes(Word32* to, Lanes lanes) { std::memcpy(to, &lanes, sizeof lanes); }

// The words x of a block, x or ~x if negative, bitwise ORed: all x lie in -2^b..2^b - 1 where b
// bits of the result are in use. What to ask before a kernel that needs headroom.
inline std::uint32_t usedBits(const Word32* block, int n) {
  Lanes bits = {0, 0, 0, 0};
  int i = 0;
  for (; i + 8 <= n; i += 8) {
    const Lanes first = loadLanes(block + i);
    const Lanes second = loadLanes(block + i + 4);
    bits |= (first ^ (first >> 31)) | (second ^ (second >> 31));
  }
  for (; i < n; ++i) bits[0] |= block[i] ^ (block[i] >> 31);
  return static_cast<std::uint32_t>(bits[0] | bits[1] | bits[2] | bits[3]);
}

// Whether words that use these bits may be multiplied by mulQ15.
constexpr bool hasLaneHeadroom(std::uint32_t bits) { return bits < 0x7FFF0000; }

// Two words from each of two places.
inline Lanes joinPairs(const Word32* first, const Word32* second) {
  std::int64_t pairs[2];
  std::memcpy(&pairs[0], first, sizeof pairs[0]);
  std::memcpy(&pairs[1], second, sizeof pairs[1]);
  using Pairs = std::int64_t __attribute__((vector_size(16)));
  return reinterpret_cast<Lanes>(Pairs{pairs[0], pairs[1]});
}

#ifdef __SSE2__

inline constexpr bool kHaveLanes = true;

// Four Q15 factors, each once in the lower and once in the upper half of a lane.
struct Factors {
  __m128i low;
  __m128i high;
};

inline Factors splatFactor(Word16 factor) {
  const __m128i lanes = _mm_set1_epi32(factor);
  const __m128i high = _mm_slli_epi32(lanes, 16);
  return {_mm_srli_epi32(high, 16), high};
}

inline Factors loadFactors(const Word16* from) {
  const __m128i packed = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(from));
  const __m128i zero = _mm_setzero_si128();
  return {_mm_unpacklo_epi16(packed, zero), _mm_unpacklo_epi16(zero, packed)};
}

// Two factors, each for two neighbouring lanes.
inline Factors spreadFactors(Word16 first, Word16 second) {
  const __m128i high = _mm_slli_epi32(_mm_set_epi32(second, second, first, first), 16);
  return {_mm_srli_epi32(high, 16), high};
}

// Cosine and sine of two twiddle pairs, each for the two lanes of a complex number.
struct Twiddles {
  Factors cosine;
  Factors sine;
};

inline Twiddles spreadTwiddles(__m128i pairs) {
  const __m128i upper = _mm_set1_epi32(-65536);
  return {{_mm_andnot_si128(upper, pairs), _mm_slli_epi32(pairs, 16)},
          {_mm_srli_epi32(pairs, 16), _mm_and_si128(upper, pairs)}};
}

inline Twiddles loadTwiddles(const Word16* first, const Word16* second) {
  int words[2];
  std::memcpy(&words[0], first, sizeof words[0]);
  std::memcpy(&words[1], second, sizeof words[1]);
  return spreadTwiddles(_mm_set_epi32(words[1], words[1], words[0], words[0]));
}

inline Twiddles splatTwiddle(const Word16* pair) { return loadTwiddles(pair, pair); }

// floor(x f / 2^15) for |x| < 2^31 - 2^15. With x = 65536 h + l, both halves signed: 2 h f +
// floor(l f / 2^15), two 16 x 16-bit products.
inline Lanes mulQ15(Lanes x, Factors f) {
  const auto word = reinterpret_cast<__m128i>(x);
  const __m128i rounded = _mm_add_epi32(word, _mm_set1_epi32(0x8000));
  const __m128i high = _mm_madd_epi16(rounded, f.high);
  const __m128i low = _mm_madd_epi16(word, f.low);
  return reinterpret_cast<Lanes>(_mm_add_epi32(_mm_slli_epi32(high, 1), _mm_srai_epi32(low, 15)));
}

// floor(h f / 2^15) of the upper halves h of any words.
inline Lanes mulHighQ15(Lanes x, Factors f) {
  return reinterpret_cast<Lanes>(
      _mm_srai_epi32(_mm_madd_epi16(reinterpret_cast<__m128i>(x), f.high), 15));
}

// Four words, saturated to 16 bits.
inline void storeSaturated(Word16* to, Lanes x) {
  const auto word = reinterpret_cast<__m128i>(x);
  _mm_storel_epi64(reinterpret_cast<__m128i*>(to), _mm_packs_epi32(word, word));
}

#else

inline constexpr bool kHaveLanes = false;

using Factors = Lanes;

inline Factors splatFactor(Word16 factor) { return Factors{factor, factor, factor, factor}; }
inline Factors loadFactors(const Word16* from) {
  return Factors{from[0], from[1], from[2], from[3]};
}

inline Factors spreadFactors(Word16 first, Word16 second) {
  return Factors{first, first, second, second};
}

struct Twiddles {
  Factors cosine;
  Factors sine;
};

inline Twiddles loadTwiddles(const Word16* first, const Word16* second) {
  return {Factors{first[0], first[0], second[0], second[0]},
          Factors{first[1], first[1], second[1], second[1]}};
}
inline Twiddles splatTwiddle(const Word16* pair) { return loadTwiddles(pair, pair); }

inline Lanes mulQ15(Lanes x, Factors f) {
  Lanes product;
  for (int i = 0; i < 4; ++i) product[i] = static_cast<Word32>((std::int64_t{x[i]} * f[i]) >> 15);
  return product;
}

inline Lanes mulHighQ15(Lanes x, Factors f) { return ((x >> 16) * f) >> 15; }

inline void storeSaturated(Word16* to, Lanes x) {
  for (int i = 0; i < 4; ++i) to[i] = saturate16(x[i]);
}

#endif

}  // namespace arvessa
