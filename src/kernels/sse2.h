// SPDX-License-Identifier: Apache-2.0
#pragma once
// The operations of SSE2 that the vector kernels are written in: four words at a time, none of
// which may saturate. Sums, shifts and comparisons are those of the compiler's vector types;
// products, packing, gathering and flags are written for the unit. With AVX2, gathering and
// quotients take one instruction instead of many.

#ifdef __AVX2__
#include <immintrin.h>
#else
#include <emmintrin.h>
#endif

#include <cstdint>
#include <cstring>

#include "ArvessaTypes.h"
#include "arithmetic/block.h"
#include "arithmetic/operators.h"

namespace arvessa::kernels {

using Words = Word32 __attribute__((vector_size(16)));

inline Words load(const Word32* from) {
  Words words;
  std::memcpy(&words, from, sizeof words);
  return words;
}
inline void store(Word32* to, Words words) { std::memcpy(to, &words, sizeof words); }

inline Words splat(Word32 word) { return Words{word, word, word, word}; }

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

// The same for factors of 0 or more and |x| < 2^30, in fewer steps: of 2 x = 65536 h + l, with l
// without a sign, h f + floor(l f / 2^16).
inline constexpr UsedBits kShareBits = bitsBelow(30);
inline Words ofDoubled(__m128i doubled, Factors f) {
  return reinterpret_cast<Words>(
      _mm_add_epi32(_mm_madd_epi16(doubled, f.high), _mm_mulhi_epu16(doubled, f.low)));
}
inline __m128i doubled(Words x) { return _mm_slli_epi32(reinterpret_cast<__m128i>(x), 1); }
inline Words share(Words x, Factors f) { return ofDoubled(doubled(x), f); }

// The same of any word: of x = 65536 h + 32768 b + l, 2 h f + b f + floor(l f / 2^15).
inline Words shareOfAny(Words x, Factors f) {
  const auto word = reinterpret_cast<__m128i>(x);
  const __m128i high = _mm_madd_epi16(word, f.high);
  const __m128i low = _mm_madd_epi16(_mm_and_si128(word, _mm_set1_epi32(0x7FFF)), f.low);
  const __m128i bit = _mm_srai_epi32(_mm_slli_epi32(word, 16), 31);
  const __m128i sum = _mm_add_epi32(_mm_slli_epi32(high, 1), _mm_and_si128(f.low, bit));
  return reinterpret_cast<Words>(_mm_add_epi32(sum, _mm_srai_epi32(low, 15)));
}

// floor(x f / 2^15) - 2^15 f for x and factors of 0 or more: x - 2^30 is multiplied, and
// 2^30 f / 2^15 is a whole number.
inline Words shareLess(Words x, Factors f) {
  return ofDoubled(_mm_xor_si128(doubled(x), _mm_set1_epi32(kMin32)), f);
}

// floor(32767 x / 2^15).
inline Words mulLargest(Words x) { return x - ((x + 32767) >> 15); }

// The same of any word: the quotient x / 2^15 is rounded up without a sum.
inline Words mulAnyByLargest(Words x) { return x - (x >> 15) - 1 - ((x & 32767) == 0); }

// (a + b) >> 1 and (a - b) >> 1.
inline Words halfSum(Words a, Words b) { return (a + b) >> 1; }
inline Words halfDifference(Words a, Words b) { return (a - b) >> 1; }

// Four complex numbers and four twiddles, to be multiplied by turn(): parts x = 2^15 h + l, with
// |x| < 2^30 - 2^14 and both h and 2 l of 16 bits. The high halves of real and imaginary part are
// the pairs of one multiplication with its sum; of the low ones, floors are summed.
struct Halves {
  __m128i high;
  __m128i low;
};
inline Halves halvesOf(Words re, Words im) {
  // The bias rounds the high halves, and flips the signs of the low ones.
  const auto r = reinterpret_cast<__m128i>(re + re + 0x8000);
  const auto i = reinterpret_cast<__m128i>(im + im + 0x8000);
  const auto first = reinterpret_cast<Words>(_mm_unpacklo_epi16(r, i));
  const auto second = reinterpret_cast<Words>(_mm_unpackhi_epi16(r, i));
  const auto low = reinterpret_cast<__m128i>(__builtin_shufflevector(first, second, 0, 2, 4, 6));
  return {reinterpret_cast<__m128i>(__builtin_shufflevector(first, second, 1, 3, 5, 7)),
          _mm_xor_si128(low, _mm_set1_epi16(-32768))};
}

// Pairs (c, s), (s, c) and (-c, s): of -1, which only s may be, there is no negative.
struct Twiddles {
  __m128i cs;
  __m128i sc;
  __m128i negated;
};
inline __m128i exchangeHalves(__m128i pairs) {
  return _mm_shufflehi_epi16(_mm_shufflelo_epi16(pairs, 0xB1), 0xB1);
}
inline Twiddles twiddlesOf(Words pairs) {
  const auto cs = reinterpret_cast<__m128i>(pairs);
  const __m128i sign = _mm_set1_epi32(0xFFFF);
  const __m128i one = _mm_set1_epi32(1);
  return {cs, exchangeHalves(cs), _mm_add_epi16(_mm_xor_si128(cs, sign), one)};
}

// floor(s im) - floor(c re) and floor(s re) + floor(c im): minus the real and the imaginary part
// of (re + j im) (c + j s).
struct Turned {
  Words negatedRe;
  Words im;
};
inline Words sumOfHalves(Halves x, __m128i high, __m128i low, __m128i signs) {
  return reinterpret_cast<Words>(_mm_madd_epi16(x.high, high)) +
         reinterpret_cast<Words>(_mm_madd_epi16(_mm_mulhi_epi16(x.low, low), signs));
}
inline Turned turn(Halves x, const Twiddles& w) {
  return {sumOfHalves(x, w.negated, w.cs, _mm_set1_epi32(0x1FFFF)),
          sumOfHalves(x, w.sc, w.sc, _mm_set1_epi16(1))};
}
// The same of im + j re.
inline Turned turnExchanged(Halves x, const Twiddles& w) {
  return {sumOfHalves(x, exchangeHalves(w.negated), w.sc, _mm_set1_epi32(-65535)),
          sumOfHalves(x, w.cs, w.cs, _mm_set1_epi16(1))};
}

// Four rows of four words, `stride` words from each to the next, to four columns.
inline void loadTransposed(const Word32* from, int stride, Words (&columns)[4]) {
  const Words a = load(from), b = load(from + stride);
  const Words c = load(from + 2 * stride), d = load(from + 3 * stride);
  const Words ab = __builtin_shufflevector(a, b, 0, 4, 1, 5);
  const Words cd = __builtin_shufflevector(c, d, 0, 4, 1, 5);
  const Words abUpper = __builtin_shufflevector(a, b, 2, 6, 3, 7);
  const Words cdUpper = __builtin_shufflevector(c, d, 2, 6, 3, 7);
  columns[0] = __builtin_shufflevector(ab, cd, 0, 1, 4, 5);
  columns[1] = __builtin_shufflevector(ab, cd, 2, 3, 6, 7);
  columns[2] = __builtin_shufflevector(abUpper, cdUpper, 0, 1, 4, 5);
  columns[3] = __builtin_shufflevector(abUpper, cdUpper, 2, 3, 6, 7);
}

// floor(h f / 2^15) of the upper halves h of any words.
inline Words mulHighQ15(Words x, Factors f) {
  return reinterpret_cast<Words>(
      _mm_srai_epi32(_mm_madd_epi16(reinterpret_cast<__m128i>(x), f.high), 15));
}

// re^2 + im^2, modulo 2^32, of four pairs of words saturated to 16 bits, two in each vector.
inline Words squaredMagnitudes(Words first, Words second) {
  const __m128i pairs =
      _mm_packs_epi32(reinterpret_cast<__m128i>(first), reinterpret_cast<__m128i>(second));
  return reinterpret_cast<Words>(_mm_madd_epi16(pairs, pairs));
}

// Four pairs of neighbouring words of 16 bits, each at a place of its own.
inline __m128i gatherPairs(const void* from, Words places) {
#ifdef __AVX2__
  return _mm_i32gather_epi32(static_cast<const int*>(from), reinterpret_cast<__m128i>(places), 2);
#else
  const auto pairAt = [&](int i) {
    int pair = 0;
    std::memcpy(&pair, static_cast<const Word16*>(from) + places[i], sizeof pair);
    return _mm_cvtsi32_si128(pair);
  };
  return _mm_unpacklo_epi64(_mm_unpacklo_epi32(pairAt(0), pairAt(1)),
                            _mm_unpacklo_epi32(pairAt(2), pairAt(3)));
#endif
}

// Of four pairs of neighbours, each at a place that a table gives: pair[0] first[i] + pair[1]
// second[i], which fits a word.
inline Words weightedPairs(const Word16* from, const Word32* places, const Word16* first,
                           const Word16* second) {
  const auto four = [](const Word16* halves) {
    return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(halves));
  };
  const __m128i pairs = gatherPairs(from, load(places));
  return reinterpret_cast<Words>(
      _mm_madd_epi16(pairs, _mm_unpacklo_epi16(four(first), four(second))));
}

// floor(x f / 2^15) of eight samples, for f above -2^15.
inline void multiplyEight(const Word16* x, Word16 factor, Word16* to) {
  const __m128i f = _mm_set1_epi16(factor);
  const __m128i eight = _mm_loadu_si128(reinterpret_cast<const __m128i*>(x));
  const __m128i high = _mm_slli_epi16(_mm_mulhi_epi16(eight, f), 1);
  const __m128i low = _mm_srli_epi16(_mm_mullo_epi16(eight, f), 15);
  _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm_or_si128(high, low));
}

// -|x|, which unlike |x| has 16 bits in all cases: the least of every eighth sample.
inline __m128i negatedMagnitudes(const Word16* x, std::size_t count) {
  __m128i least = _mm_setzero_si128();
  for (std::size_t i = 0; i < count; i += 8) {
    const __m128i eight = _mm_loadu_si128(reinterpret_cast<const __m128i*>(x + i));
    const __m128i negated = _mm_sub_epi16(_mm_setzero_si128(), eight);
    least = _mm_min_epi16(least, _mm_min_epi16(eight, negated));
  }
  return least;
}

// The largest magnitude of samples, a multiple of eight of them.
inline Word32 largestMagnitude(const Word16* x, std::size_t count) {
  __m128i least = negatedMagnitudes(x, count);
  least = _mm_min_epi16(least, _mm_shuffle_epi32(least, 0x4E));
  least = _mm_min_epi16(least, _mm_shuffle_epi32(least, 0xB1));
  least = _mm_min_epi16(least, _mm_shufflelo_epi16(least, 0xB1));
  return -static_cast<Word16>(_mm_cvtsi128_si32(least));
}

// The squares of the largest magnitudes of two rows, a multiple of eight samples each; that of a
// full-scale sample is held below 2^30.
inline void largestSquares(const Word16* first, const Word16* second, std::size_t count,
                           Word32* squares) {
  const __m128i a = negatedMagnitudes(first, count);
  const __m128i b = negatedMagnitudes(second, count);
  __m128i least = _mm_min_epi16(_mm_unpacklo_epi16(a, b), _mm_unpackhi_epi16(a, b));
  least = _mm_min_epi16(least, _mm_shuffle_epi32(least, 0x4E));
  least = _mm_min_epi16(least, _mm_shuffle_epi32(least, 0xB1));
  const __m128i both = _mm_unpacklo_epi16(least, _mm_setzero_si128());
  const __m128i squared = _mm_madd_epi16(both, both);
  _mm_storel_epi64(reinterpret_cast<__m128i*>(squares),
                   _mm_sub_epi32(squared, _mm_srli_epi32(squared, 30)));
}

// Eight samples in the upper halves of words, shifted by `left`, then by `right`.
inline void storeShifted(Word32* to, const Word16* from, int left, int right) {
  const __m128i eight = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
  const __m128i zero = _mm_setzero_si128();
  store(to, reinterpret_cast<Words>(_mm_unpacklo_epi16(zero, eight)) << left >> right);
  store(to + 4, reinterpret_cast<Words>(_mm_unpackhi_epi16(zero, eight)) << left >> right);
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

// a + b, saturated: a sum whose sign neither has would lie beyond the limit of a's sign.
inline Words saturatedSum(Words a, Words b) {
  const auto sum = reinterpret_cast<Words>(
      _mm_add_epi32(reinterpret_cast<__m128i>(a), reinterpret_cast<__m128i>(b)));
  const Words beyond = ((a ^ sum) & (b ^ sum)) >> 31;
  const Words limit = (a >> 31) ^ 0x7FFFFFFF;
  return (sum & ~beyond) | (limit & beyond);
}

// Four words, saturated to 16 bits.
inline void storeSaturated(Word16* to, Words x) {
  const auto word = reinterpret_cast<__m128i>(x);
  _mm_storel_epi64(reinterpret_cast<__m128i*>(to), _mm_packs_epi32(word, word));
}

// Twice eight words of 16 bits, saturated.
inline void storeDoubled(Word16* to, Words first, Words second) {
  const __m128i eight =
      _mm_packs_epi32(reinterpret_cast<__m128i>(first), reinterpret_cast<__m128i>(second));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm_adds_epi16(eight, eight));
}

// The sum of `from` and four words, both saturated to 16 bits.
inline void storeSaturatedSum(Word16* to, const Word16* from, Words x) {
  const auto word = reinterpret_cast<__m128i>(x);
  const __m128i sum = _mm_adds_epi16(_mm_packs_epi32(word, word),
                                     _mm_loadl_epi64(reinterpret_cast<const __m128i*>(from)));
  _mm_storel_epi64(reinterpret_cast<__m128i*>(to), sum);
}

// Four 16-bit words, widened; the factors that words of 16 bits are; and whether a mask is not zero.
inline Words loadWide(const Word16* from) {
  const __m128i packed = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(from));
  return reinterpret_cast<Words>(_mm_unpacklo_epi16(packed, packed)) >> 16;
}
inline Factors factorsOf(Words x) {
  return {reinterpret_cast<__m128i>(x & 0xFFFF), reinterpret_cast<__m128i>(x << 16)};
}
inline bool any(Words mask) { return _mm_movemask_epi8(reinterpret_cast<__m128i>(mask)) != 0; }

// Not 0 where one of eight 16-bit words is less than `least` or more than `most`.
inline Words outsideOf(const Word16* from, Word16 least, Word16 most) {
  const __m128i eight = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
  return reinterpret_cast<Words>(_mm_or_si128(_mm_cmplt_epi16(eight, _mm_set1_epi16(least)),
                                              _mm_cmpgt_epi16(eight, _mm_set1_epi16(most))));
}

// a b of words of 16 bits, one of which is not negative.
inline Words product16(Words a, Words b) {
  return reinterpret_cast<Words>(
      _mm_madd_epi16(reinterpret_cast<__m128i>(a), reinterpret_cast<__m128i>(b)));
}

// floor(num / den) for 0 <= num < 2^31 and 0 < den < 2^15, a quotient below 2^16. What is no
// integer lies 1 / den or more below the next, and its error below num / den 2^-52.
inline Words quotient(Words num, Words den) {
  const auto n = reinterpret_cast<__m128i>(num);
  const auto d = reinterpret_cast<__m128i>(den);
#ifdef __AVX2__
  return reinterpret_cast<Words>(
      _mm256_cvttpd_epi32(_mm256_div_pd(_mm256_cvtepi32_pd(n), _mm256_cvtepi32_pd(d))));
#else
  const __m128i lower = _mm_cvttpd_epi32(_mm_div_pd(_mm_cvtepi32_pd(n), _mm_cvtepi32_pd(d)));
  const __m128i upper = _mm_cvttpd_epi32(_mm_div_pd(_mm_cvtepi32_pd(_mm_unpackhi_epi64(n, n)),
                                                    _mm_cvtepi32_pd(_mm_unpackhi_epi64(d, d))));
  return reinterpret_cast<Words>(_mm_unpacklo_epi64(lower, upper));
#endif
}
// The same for num < 2^23, whose quotient has an error below num / den 2^-23 in every mode.
inline Words smallQuotient(Words num, Words den) {
  return reinterpret_cast<Words>(
      _mm_cvttps_epi32(_mm_div_ps(_mm_cvtepi32_ps(reinterpret_cast<__m128i>(num)),
                                  _mm_cvtepi32_ps(reinterpret_cast<__m128i>(den)))));
}

// floor(log4 x) and floor(x 4^(6 - log4)), 12 to 14 bits, for x > 0: a float's exponent is the
// binary logarithm. Above 2^24 it would round the lowest bits, which the mantissa does not have.
struct Log4 {
  Words exponent;
  Words mantissa;
};
inline Log4 log4Of(Words x) {
  const Words exact = x & ~((x >= 1 << 24) & 255);
  const auto bits = reinterpret_cast<Words>(_mm_cvtepi32_ps(reinterpret_cast<__m128i>(exact)));
  const Words log2 = (bits >> 23) - 127;
  const Words mantissa = (bits & 0x7FFFFF) | 0x800000;
  return {log2 >> 1, (log2 & 1) != 0 ? mantissa >> 10 : mantissa >> 11};
}

// floor(x 2^exponent) for 0 <= x < 2^24, where that fits.
inline Words scaled(Words x, Words exponent) {
  const __m128 power = _mm_castsi128_ps(reinterpret_cast<__m128i>((exponent + 127) << 23));
  return reinterpret_cast<Words>(
      _mm_cvttps_epi32(_mm_mul_ps(_mm_cvtepi32_ps(reinterpret_cast<__m128i>(x)), power)));
}

// table[index] left + table[index + 1] right, of 16 bits each.
inline Words interpolated(const unsigned short* table, Words index, Words right, Words left) {
  return reinterpret_cast<Words>(
      _mm_madd_epi16(gatherPairs(table, index), reinterpret_cast<__m128i>(left | right << 16)));
}

// Two neighbouring taps of a filter without recursion: coefficients 2^15 h + l, each at most 2^28,
// of which pairs of h and of 2 l are what a multiplication takes.
struct TapPair {
  std::int32_t high;
  std::int32_t low;
};
constexpr TapPair tapPair(Word32 near, Word32 far) {
  const auto pair = [](Word32 first, Word32 second) {
    return static_cast<std::int32_t>((static_cast<std::uint32_t>(first) & 0xFFFF) |
                                     static_cast<std::uint32_t>(second) << 16);
  };
  const Word32 nearHigh = (near + 0x4000) >> 15;
  const Word32 farHigh = (far + 0x4000) >> 15;
  return {pair(nearHigh, farHigh),
          pair(2 * (near - (nearHigh << 15)), 2 * (far - (farHigh << 15)))};
}

// Adds floor(near x[n] / 2^15) + floor(far x[n - 1] / 2^15) to eight sums, for n = 0..7.
inline void addTaps(Words& first, Words& second, const Word16* x, const TapPair& taps) {
  const __m128i now = _mm_loadu_si128(reinterpret_cast<const __m128i*>(x));
  const __m128i before = _mm_loadu_si128(reinterpret_cast<const __m128i*>(x - 1));
  const __m128i high = _mm_set1_epi32(taps.high);
  const __m128i low = _mm_set1_epi32(taps.low);
  const __m128i one = _mm_set1_epi16(1);
  const auto sum = [&](__m128i pairs) {
    return reinterpret_cast<Words>(_mm_madd_epi16(pairs, high)) +
           reinterpret_cast<Words>(_mm_madd_epi16(_mm_mulhi_epi16(pairs, low), one));
  };
  first += sum(_mm_unpacklo_epi16(now, before));
  second += sum(_mm_unpackhi_epi16(now, before));
}

// The recursion of order 10: v[n] -= sum floor(a[i] y[n - i] / 2^31), y = 2^shift v, with
// y[-10]..y[-1] before it, for signs of a that alternate from -. Exact while all y use no more than
// kFeedbackBits: n is even.
//
// In the transposed form: every y is multiplied by all coefficients at once, and the products wait
// in pairs of sums for the samples to come. Of twice a product the upper word is the floor, and
// sums of words keep it apart from the lower one. The multiplication is unsigned: of 2^31 + y and
// 2^31 - y by |a|, so that each product is larger by |a|, and v has to be by `excess`.
inline constexpr UsedBits kFeedbackBits = bitsBelow(30);
struct FeedbackTaps {
  alignas(16) std::uint32_t now[6][4];   // 0, a1 .. a8, a9 | a10, 0: those of the first of two y
  alignas(16) std::uint32_t next[6][4];  // one sample later
  Word32 excess;
};
constexpr FeedbackTaps feedbackTapsOf(const Word32 (&a)[11]) {
  FeedbackTaps taps{};
  for (unsigned i = 1; i <= 10; ++i) {
    const Word32 magnitude = i % 2 == 0 ? a[i] : -a[i];
    taps.now[i / 2][i % 2 * 2] = 2 * static_cast<std::uint32_t>(magnitude);
    taps.next[(i + 1) / 2][(i + 1) % 2 * 2] = 2 * static_cast<std::uint32_t>(magnitude);
    taps.excess += magnitude;
  }
  return taps;
}

class Feedback {
 public:
  explicit Feedback(const FeedbackTaps& taps) : taps_(taps) {}

  // The next two outputs, given their sums without the recursion; or values of y from before.
  template <int kShift>
  void step(Word32* v) {
    const __m128i first = less(v[0], _mm_shuffle_epi32(sums_[0], 0x55));
    v[0] = _mm_cvtsi128_si32(first);
    const __m128i y0 = spread<false>(_mm_slli_epi32(first, kShift));
    add(0, y0, taps_.now[0]);
    const __m128i second = less(v[1], _mm_shuffle_epi32(sums_[0], 0xFF));
    v[1] = _mm_cvtsi128_si32(second);
    advance(y0, spread<true>(_mm_slli_epi32(second, kShift)));
  }
  void remember(const Word32* y) {
    advance(spread<false>(_mm_set1_epi32(y[0])), spread<true>(_mm_set1_epi32(y[1])));
  }

 private:
  static __m128i less(Word32 v, __m128i sum) { return _mm_sub_epi32(_mm_set1_epi32(v), sum); }
  // 2^31 + y against even and 2^31 - y against odd coefficients, which come second or first.
  template <bool kOddFirst>
  static __m128i spread(__m128i y) {
    const __m128i sign = kOddFirst ? _mm_setr_epi32(-1, 0, 0, 0) : _mm_setr_epi32(0, 0, -1, 0);
    const __m128i centre = _mm_sub_epi32(_mm_set1_epi32(-2147483647 - 1), sign);
    return _mm_add_epi32(_mm_xor_si128(y, sign), centre);
  }
  void add(int pair, __m128i y, const std::uint32_t* taps) {
    const __m128i product =
        _mm_mul_epu32(y, _mm_load_si128(reinterpret_cast<const __m128i*>(taps)));
    sums_[pair] = _mm_add_epi32(sums_[pair], product);
  }
  void advance(__m128i y0, __m128i y1) {
    for (int pair = 1; pair < 6; ++pair) {
      add(pair, y0, taps_.now[pair]);
      add(pair, y1, taps_.next[pair]);
      sums_[pair - 1] = sums_[pair];
    }
    sums_[5] = _mm_setzero_si128();
  }

  const FeedbackTaps& taps_;
  __m128i sums_[6] = {};
};

}  // namespace arvessa::kernels
