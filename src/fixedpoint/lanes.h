#pragma once
// Four 32-bit words at once, for kernels whose operands have headroom: no operation saturates.
//
// Sums, shifts and comparisons are those of the compiler's vector types. Products, packing, gathering
// and flags are written for the vector unit; where there is none (kHaveLanes), kernels take their
// scalar form, which gives the same bits, and the functions below for other processors only let them
// compile.

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

// Four factors, each for two neighbouring lanes of eight.
struct PairFactors {
  Factors first;
  Factors second;
};
inline PairFactors spreadFactors(const Word16* from) {
  const Factors each = loadFactors(from);
  return {{_mm_unpacklo_epi32(each.low, each.low), _mm_unpacklo_epi32(each.high, each.high)},
          {_mm_unpackhi_epi32(each.low, each.low), _mm_unpackhi_epi32(each.high, each.high)}};
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

// re^2 + im^2 of four pairs, modulo 2^32.
inline Lanes squaredMagnitudes(const Word16* pairs) {
  const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pairs));
  return reinterpret_cast<Lanes>(_mm_madd_epi16(v, v));
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
inline Lanes sumOfProducts(FourHalves a, FourHalves b, FourHalves c, FourHalves d) {
  return reinterpret_cast<Lanes>(
      _mm_madd_epi16(_mm_unpacklo_epi16(a, c), _mm_unpacklo_epi16(b, d)));
}

// 1 where a lane of the mask is -1, 0 where it is 0; and back.
inline void storeFlags(unsigned char* to, Lanes mask) {
  const auto lanes = reinterpret_cast<__m128i>(-mask);
  const __m128i halves = _mm_packs_epi32(lanes, lanes);
  const int bytes = _mm_cvtsi128_si32(_mm_packus_epi16(halves, halves));
  std::memcpy(to, &bytes, sizeof bytes);
}
inline Lanes loadFlags(const unsigned char* from) {
  int bytes = 0;
  std::memcpy(&bytes, from, sizeof bytes);
  const __m128i zero = _mm_setzero_si128();
  const __m128i halves = _mm_unpacklo_epi8(_mm_cvtsi32_si128(bytes), zero);
  return reinterpret_cast<Lanes>(_mm_unpacklo_epi16(halves, zero)) != 0;
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

struct PairFactors {
  Factors first;
  Factors second;
};
inline PairFactors spreadFactors(const Word16* from) {
  return {Factors{from[0], from[0], from[1], from[1]}, Factors{from[2], from[2], from[3], from[3]}};
}

struct Twiddles {
  Factors cosine;
  Factors sine;
};

inline Twiddles loadTwiddles(const Word16* from) {
  return {Factors{from[0], from[0], from[2], from[2]}, Factors{from[1], from[1], from[3], from[3]}};
}
inline Twiddles loadTwiddlesReversed(const Word16* from) {
  return {Factors{from[2], from[2], from[0], from[0]}, Factors{from[3], from[3], from[1], from[1]}};
}
inline Twiddles splatTwiddle(const Word16* pair) {
  return {Factors{pair[0], pair[0], pair[0], pair[0]}, Factors{pair[1], pair[1], pair[1], pair[1]}};
}

inline Lanes mulQ15(Lanes x, Factors f) {
  Lanes product;
  for (int i = 0; i < 4; ++i) product[i] = static_cast<Word32>((std::int64_t{x[i]} * f[i]) >> 15);
  return product;
}

inline Lanes mulHighQ15(Lanes x, Factors f) { return ((x >> 16) * f) >> 15; }

inline Lanes squaredMagnitudes(const Word16* pairs) {
  Lanes sums;
  for (int i = 0; i < 4; ++i) {
    const auto re = static_cast<std::uint32_t>(pairs[2 * i] * pairs[2 * i]);
    sums[i] =
        static_cast<Word32>(re + static_cast<std::uint32_t>(pairs[2 * i + 1] * pairs[2 * i + 1]));
  }
  return sums;
}

using FourHalves = Lanes;
inline FourHalves loadHalves(const Word16* from) {
  return FourHalves{from[0], from[1], from[2], from[3]};
}
inline FourHalves gatherHalves(const Word16* from, const Word32* places) {
  return FourHalves{from[places[0]], from[places[1]], from[places[2]], from[places[3]]};
}

inline Lanes sumOfProducts(FourHalves a, FourHalves b, FourHalves c, FourHalves d) {
  return a * b + c * d;
}

inline void storeFlags(unsigned char* to, Lanes mask) {
  for (int i = 0; i < 4; ++i) to[i] = static_cast<unsigned char>(-mask[i]);
}
inline Lanes loadFlags(const unsigned char* from) {
  return Lanes{from[0], from[1], from[2], from[3]} != 0;
}

inline void storeSaturated(Word16* to, Lanes x) {
  for (int i = 0; i < 4; ++i) to[i] = saturate16(x[i]);
}

#endif

}  // namespace arvessa
