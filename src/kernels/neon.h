// SPDX-License-Identifier: Apache-2.0
#pragma once
// The operations of NEON that the vector kernels are written in, the same for A32 and A64: those of
// sse2.h, with the same results. The doubled product that keeps its upper half, vqdmulh, is a
// product by a Q15 factor in the upper half of a word.

#include <arm_neon.h>

#include <cstring>

#include "ArvessaTypes.h"
#include "arithmetic/block.h"

namespace arvessa::kernels {

using Words = Word32 __attribute__((vector_size(16)));

inline Words asWords(int32x4_t words) { return reinterpret_cast<Words>(words); }
inline int32x4_t ofUnit(Words words) { return reinterpret_cast<int32x4_t>(words); }

inline Words load(const Word32* from) { return asWords(vld1q_s32(from)); }
inline void store(Word32* to, Words words) { vst1q_s32(to, ofUnit(words)); }
inline Words splat(Word32 word) { return asWords(vdupq_n_s32(word)); }

struct Factors {
  int32x4_t high;
};
inline Factors splatFactor(Word16 factor) { return {vdupq_n_s32(Word32{factor} * 65536)}; }
inline Factors loadFactors(const Word16* from) {
  return {vshlq_n_s32(vmovl_s16(vld1_s16(from)), 16)};
}

struct PairFactors {
  Factors first;
  Factors second;
};
inline PairFactors spreadFactors(const Word16* from) {
  const int32x4_t each = loadFactors(from).high;
  const int32x4x2_t pairs = vzipq_s32(each, each);
  return {{pairs.val[0]}, {pairs.val[1]}};
}

// A product by -1 of a word beyond these is no longer that of the definition (operators.h).
inline constexpr UsedBits kFactorBits = 0x7FFEFFFF;

inline Words mulQ15(Words x, Factors f) { return asWords(vqdmulhq_s32(ofUnit(x), f.high)); }

inline constexpr UsedBits kShareBits = kFactorBits;
inline Words share(Words x, Factors f) { return mulQ15(x, f); }
inline Words shareOfAny(Words x, Factors f) { return mulQ15(x, f); }
inline Words shareLess(Words x, Factors f) { return mulQ15(x - (1 << 30), f); }

inline Words mulLargest(Words x) { return mulQ15(x, splatFactor(32767)); }
inline Words mulAnyByLargest(Words x) { return mulLargest(x); }

inline Words halfSum(Words a, Words b) { return asWords(vhaddq_s32(ofUnit(a), ofUnit(b))); }
inline Words halfDifference(Words a, Words b) { return asWords(vhsubq_s32(ofUnit(a), ofUnit(b))); }

struct Halves {
  Words re;
  Words im;
};
inline Halves halvesOf(Words re, Words im) { return {re, im}; }

struct Twiddles {
  Factors cosine;
  Factors sine;
};
inline Twiddles twiddlesOf(Words pairs) {
  const int32x4_t words = ofUnit(pairs);
  return {{vshlq_n_s32(words, 16)}, {vandq_s32(words, vdupq_n_s32(-65536))}};
}

struct Turned {
  Words negatedRe;
  Words im;
};
inline Turned turn(Halves x, const Twiddles& w) {
  return {mulQ15(x.im, w.sine) - mulQ15(x.re, w.cosine),
          mulQ15(x.re, w.sine) + mulQ15(x.im, w.cosine)};
}
inline Turned turnExchanged(Halves x, const Twiddles& w) { return turn({x.im, x.re}, w); }

inline void loadTransposed(const Word32* from, int stride, Words (&columns)[4]) {
  const int32x4x2_t even = vzipq_s32(vld1q_s32(from), vld1q_s32(from + 2 * stride));
  const int32x4x2_t odd = vzipq_s32(vld1q_s32(from + stride), vld1q_s32(from + 3 * stride));
  for (int half = 0; half < 2; ++half) {
    const int32x4x2_t pair = vzipq_s32(even.val[half], odd.val[half]);
    columns[2 * half] = asWords(pair.val[0]);
    columns[2 * half + 1] = asWords(pair.val[1]);
  }
}

inline Words mulHighQ15(Words x, Factors f) {
  const int32x4_t high = vandq_s32(ofUnit(x), vdupq_n_s32(-65536));
  return asWords(vshrq_n_s32(vqdmulhq_s32(high, f.high), 16));
}

inline Words squaredMagnitudes(Words first, Words second) {
  const int16x4x2_t parts = vuzp_s16(vqmovn_s32(ofUnit(first)), vqmovn_s32(ofUnit(second)));
  return asWords(vmlal_s16(vmull_s16(parts.val[0], parts.val[0]), parts.val[1], parts.val[1]));
}

inline Words weightedPairs(const Word16* from, const Word32* places, const Word16* first,
                           const Word16* second) {
  const int16x4_t here = {from[places[0]], from[places[1]], from[places[2]], from[places[3]]};
  const Word16* const next = from + 1;
  const int16x4_t there = {next[places[0]], next[places[1]], next[places[2]], next[places[3]]};
  return asWords(vmlal_s16(vmull_s16(here, vld1_s16(first)), there, vld1_s16(second)));
}

inline void multiplyEight(const Word16* x, Word16 factor, Word16* to) {
  vst1q_s16(to, vqdmulhq_n_s16(vld1q_s16(x), factor));
}

inline int16x4_t negatedMagnitudes(const Word16* x, std::size_t count) {
  int16x8_t least = vdupq_n_s16(0);
  for (std::size_t i = 0; i < count; i += 8) {
    const int16x8_t eight = vld1q_s16(x + i);
    least = vminq_s16(least, vminq_s16(eight, vnegq_s16(eight)));
  }
  return vmin_s16(vget_low_s16(least), vget_high_s16(least));
}

inline Word32 largestMagnitude(const Word16* x, std::size_t count) {
  int16x4_t least = negatedMagnitudes(x, count);
  least = vpmin_s16(least, least);
  return -vget_lane_s16(vpmin_s16(least, least), 0);
}

inline void largestSquares(const Word16* first, const Word16* second, std::size_t count,
                           Word32* squares) {
  int16x4_t least = vpmin_s16(negatedMagnitudes(first, count), negatedMagnitudes(second, count));
  least = vpmin_s16(least, least);
  const int32x2_t squared = vget_low_s32(vmull_s16(least, least));
  vst1_s32(squares, vmin_s32(squared, vdup_n_s32(0x3FFFFFFF)));
}

inline void storeShifted(Word32* to, const Word16* from, int left, int right) {
  const int16x8_t eight = vld1q_s16(from);
  store(to, asWords(vshlq_n_s32(vmovl_s16(vget_low_s16(eight)), 16)) << left >> right);
  store(to + 4, asWords(vshlq_n_s32(vmovl_s16(vget_high_s16(eight)), 16)) << left >> right);
}

inline void storeFlags(unsigned char* to, Words mask) {
  const int16x4_t halves = vmovn_s32(ofUnit(-mask));
  const int8x8_t bytes = vmovn_s16(vcombine_s16(halves, halves));
  std::memcpy(to, &bytes, 4);
}
inline Words loadFlags(const unsigned char* from) {
  std::uint32_t bytes = 0;
  std::memcpy(&bytes, from, sizeof bytes);
  const uint16x8_t halves = vmovl_u8(vcreate_u8(bytes));
  return reinterpret_cast<Words>(vmovl_u16(vget_low_u16(halves))) != 0;
}

inline Words saturatedSum(Words a, Words b) { return asWords(vqaddq_s32(ofUnit(a), ofUnit(b))); }

inline void storeSaturated(Word16* to, Words x) { vst1_s16(to, vqmovn_s32(ofUnit(x))); }

inline void storeDoubled(Word16* to, Words first, Words second) {
  const int16x8_t eight = vcombine_s16(vqmovn_s32(ofUnit(first)), vqmovn_s32(ofUnit(second)));
  vst1q_s16(to, vqaddq_s16(eight, eight));
}

inline void storeSaturatedSum(Word16* to, const Word16* from, Words x) {
  vst1_s16(to, vqadd_s16(vqmovn_s32(ofUnit(x)), vld1_s16(from)));
}

inline Words loadWide(const Word16* from) { return asWords(vmovl_s16(vld1_s16(from))); }
inline Factors factorsOf(Words x) { return {vshlq_n_s32(ofUnit(x), 16)}; }
inline bool any(Words mask) {
  const int32x2_t folded = vorr_s32(vget_low_s32(ofUnit(mask)), vget_high_s32(ofUnit(mask)));
  return vget_lane_s64(vreinterpret_s64_s32(folded), 0) != 0;
}

inline Words outsideOf(const Word16* from, Word16 least, Word16 most) {
  const int16x8_t eight = vld1q_s16(from);
  return reinterpret_cast<Words>(
      vorrq_u16(vcltq_s16(eight, vdupq_n_s16(least)), vcgtq_s16(eight, vdupq_n_s16(most))));
}

inline Words product16(Words a, Words b) { return a * b; }

inline Words shiftedLeft(Words x, Words count) {
  return asWords(vshlq_s32(ofUnit(x), ofUnit(count)));
}
inline Words leadingZeros(Words x) { return asWords(vclzq_s32(ofUnit(x))); }

// By the reciprocal r of the normalised divisor: an estimate of 8 bits, two steps r <- r (2 - d r)
// (Newton), and the remainder tells whether the quotient is one too large or too small. 1 is 2^31
// in d and 2^29 in r.
inline Words quotient(Words num, Words den) {
  const Words zeros = leadingZeros(den);
  const auto normalised = reinterpret_cast<uint32x4_t>(shiftedLeft(den, zeros));
  const int32x4_t d = vreinterpretq_s32_u32(vshrq_n_u32(normalised, 1));
  int32x4_t r = vreinterpretq_s32_u32(vshrq_n_u32(vrecpeq_u32(normalised), 2));
  for (int i = 0; i < 2; ++i) {
    const int32x4_t correction = vsubq_s32(vdupq_n_s32(1 << 30), vqrdmulhq_s32(d, r));
    r = vshlq_n_s32(vqrdmulhq_s32(r, correction), 2);
  }
  const Words estimate = shiftedLeft(asWords(vqrdmulhq_s32(ofUnit(num), r)), zeros - 30);
  const Words remainder = num - estimate * den;
  return estimate + (remainder < 0) - (remainder >= den);
}
inline Words smallQuotient(Words num, Words den) { return quotient(num, den); }

struct Log4 {
  Words exponent;
  Words mantissa;
};
inline Log4 log4Of(Words x) {
  const Words exponent = (31 - leadingZeros(x)) >> 1;
  return {exponent, shiftedLeft(x, 12 - 2 * exponent)};
}

inline Words scaled(Words x, Words exponent) { return shiftedLeft(x, exponent); }

inline Words interpolated(const unsigned short* table, Words index, Words right, Words left) {
  const Words first = {table[index[0]], table[index[1]], table[index[2]], table[index[3]]};
  const unsigned short* const next = table + 1;
  const Words second = {next[index[0]], next[index[1]], next[index[2]], next[index[3]]};
  return first * left + second * right;
}

struct TapPair {
  Word32 near;
  Word32 far;
};
constexpr TapPair tapPair(Word32 near, Word32 far) { return {near, far}; }

inline void addTaps(Words& first, Words& second, const Word16* x, const TapPair& taps) {
  const auto addOne = [&](int16x8_t samples, Word32 tap) {
    const int32x4_t factor = vdupq_n_s32(tap);
    const int32x4_t low = vshlq_n_s32(vmovl_s16(vget_low_s16(samples)), 16);
    const int32x4_t high = vshlq_n_s32(vmovl_s16(vget_high_s16(samples)), 16);
    first += asWords(vqdmulhq_s32(low, factor));
    second += asWords(vqdmulhq_s32(high, factor));
  };
  addOne(vld1q_s16(x), taps.near);
  addOne(vld1q_s16(x - 1), taps.far);
}

// In the transposed form: every y is multiplied by all coefficients at once, and the products wait
// for the samples to come. Exact for all y that a shift does not saturate.
inline constexpr UsedBits kFeedbackBits = bitsBelow(30);
struct FeedbackTaps {
  Word32 a[12];
  Word32 excess;
};
constexpr FeedbackTaps feedbackTapsOf(const Word32 (&a)[11]) {
  FeedbackTaps taps{};
  for (int i = 1; i <= 10; ++i) taps.a[i - 1] = a[i];
  return taps;
}

class Feedback {
 public:
  explicit Feedback(const FeedbackTaps& taps)
      : a_{vld1q_s32(taps.a), vld1q_s32(taps.a + 4), vld1q_s32(taps.a + 8)} {}

  template <int kShift>
  void step(Word32* v) {
    for (int i = 0; i < 2; ++i) {
      const int32x4_t output = vsubq_s32(vld1q_dup_s32(v + i), sums_[0]);
      vst1q_lane_s32(v + i, output, 0);
      advance(vshl_n_s32(vget_low_s32(output), kShift));
    }
  }
  void remember(const Word32* y) {
    advance(vdup_n_s32(y[0]));
    advance(vdup_n_s32(y[1]));
  }

 private:
  void advance(int32x2_t y) {
    const int32x4_t zero = vdupq_n_s32(0);
    sums_[0] = vaddq_s32(vextq_s32(sums_[0], sums_[1], 1), vqdmulhq_lane_s32(a_[0], y, 0));
    sums_[1] = vaddq_s32(vextq_s32(sums_[1], sums_[2], 1), vqdmulhq_lane_s32(a_[1], y, 0));
    sums_[2] = vaddq_s32(vextq_s32(sums_[2], zero, 1), vqdmulhq_lane_s32(a_[2], y, 0));
  }

  int32x4_t a_[3];
  int32x4_t sums_[3] = {};
};

}  // namespace arvessa::kernels
