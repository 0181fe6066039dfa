// SPDX-License-Identifier: Apache-2.0
#pragma once
// The fixed-point transform of the contract as templates over the arithmetic of its butterflies,
// with the pieces that are exported one by one.

#include <algorithm>
#include <utility>

#include "arithmetic/operators.h"
#include "kernels/kernels.h"
#include "kernels/products.h"

namespace arvessa::kernels {

// Arithmetic for any input.
struct Saturating {
  static Word32 add(Word32 a, Word32 b) { return lAdd(a, b); }
  static Word32 sub(Word32 a, Word32 b) { return lSub(a, b); }
  static Word32 negate(Word32 a) { return lNegate(a); }
  static Word32 byFirst(Word32 word, FactorPair f) { return mpy32x16(word, firstOf(f)); }
  static Word32 bySecond(Word32 word, FactorPair f) { return mpy32x16(word, secondOf(f)); }
};

// The same where no operation can saturate.
struct Unsaturated {
  static Word32 add(Word32 a, Word32 b) { return a + b; }
  static Word32 sub(Word32 a, Word32 b) { return a - b; }
  static Word32 negate(Word32 a) { return -a; }
  // Of a word below 2^30.
  static Word32 byFirst(Word32 word, FactorPair f) { return addByFirst(0, 2 * word, f); }
  static Word32 bySecond(Word32 word, FactorPair f) { return addBySecond(0, 2 * word, f); }
};

// The steps of the transform, one number at a time. Points are pairs of words.
template <class Arithmetic>
struct Scalar {
  using A = Arithmetic;

  // a + b w and a - b w, or with kInverse w*, forward halved. With kReal the sine is 0.
  // The first stage has written all of b.
  // NOLINTBEGIN(clang-analyzer-core.CallAndMessage,clang-analyzer-core.UndefinedBinaryOperatorResult)
  template <bool kInverse, bool kReal>
  static void butterfly(const Word32* a, const Word32* b, FactorPair w, Word32* sum,
                        Word32* difference) {
    constexpr int kHalve = kInverse ? 0 : 1;
    Point t = {A::byFirst(b[0], w), A::byFirst(b[1], w)};
    if constexpr (!kReal) {
      const Point crossed = {A::bySecond(b[1], w), A::bySecond(b[0], w)};
      t.re = kInverse ? A::add(t.re, crossed.re) : A::sub(t.re, crossed.re);
      t.im = kInverse ? A::sub(t.im, crossed.im) : A::add(crossed.im, t.im);
    }
    const Point total = {A::add(a[0], t.re), A::add(a[1], t.im)};
    const Point rest = {A::sub(a[0], t.re), A::sub(a[1], t.im)};
    sum[0] = total.re >> kHalve;
    sum[1] = total.im >> kHalve;
    difference[0] = rest.re >> kHalve;
    difference[1] = rest.im >> kHalve;
  }
  // NOLINTEND(clang-analyzer-core.CallAndMessage,clang-analyzer-core.UndefinedBinaryOperatorResult)

  // Reads `from` in bit-reversed order. The twiddle is 1, as near as Q15 comes: 32767.
  template <bool kInverse>
  static void firstStage(const Word32* from, Word32* to, const TransformTables& tables) {
    const int half = tables.points / 2;
    const FactorPair one = loadPair(tables.twiddles);
    for (int k = 0; k < half; ++k) {
      const Word32* a = from + 2 * (tables.reversedBits[k] >> (8 - tables.stages));
      butterfly<kInverse, true>(a, a + tables.points, one, to + 2 * k, to + tables.points + 2 * k);
    }
  }

  // Stage s: 2^s twiddles, each for a run of neighbouring butterflies; each is stored twice, but in
  // the last stage, where a run is a single butterfly.
  template <bool kInverse>
  static void stage(const Word32* in, Word32* out, int points, int s, const Word16* twiddle) {
    const int run = points >> (s + 1);
    Word32* difference = out + points;
    if (run == 1) {
      for (int k = 0; k < points; k += 2, in += 4) {
        butterfly<kInverse, false>(in, in + 2, loadPair(twiddle + k), out + k, difference + k);
      }
      return;
    }
    for (int group = 0; group < 1 << s; ++group, twiddle += 4) {
      const FactorPair w = loadPair(twiddle);
      for (int k = 0; k < run; ++k, in += 4, out += 2, difference += 2) {
        butterfly<kInverse, false>(in, in + 2, w, out, difference);
      }
    }
  }

  // Bins k and N - k of the samples' spectrum from that of their pairs.
  static void forwardSplit(const Word32* z, Word32* out, const TransformTables& tables) {
    for (int k = 1; k <= tables.points / 2; ++k) {
      const int m = tables.points - k;
      const Word32 a = A::add(z[2 * k], z[2 * m]);
      const Word32 b = A::sub(z[2 * m], z[2 * k]);
      const Word32 c = A::sub(z[2 * k + 1], z[2 * m + 1]);
      const Word32 d = A::add(z[2 * k + 1], z[2 * m + 1]);
      const FactorPair wk = loadPair(tables.twiddles + 2 * k);
      const FactorPair wm = loadPair(tables.twiddles + 2 * m);
      const Word32 reK = A::sub(A::byFirst(d, wk), A::bySecond(b, wk));
      const Word32 imK = A::add(A::byFirst(b, wk), A::bySecond(d, wk));
      const Word32 reM = A::add(A::byFirst(d, wm), A::bySecond(b, wm));
      const Word32 imM = A::add(A::negate(A::byFirst(b, wm)), A::bySecond(d, wm));
      store(out, k, m, {A::add(a, reK), A::add(c, imK)}, {A::add(a, reM), mirrored(c, imM)});
    }
  }

  // And back.
  static void inverseSplit(const Word32* x, Word32* out, const TransformTables& tables) {
    for (int k = 1; k <= tables.points / 2; ++k) {
      const int m = tables.points - k;
      const Word32 a = A::add(x[2 * k], x[2 * m]);
      const Word32 b = A::negate(A::sub(x[2 * m], x[2 * k]));
      const Word32 c = A::sub(x[2 * k + 1], x[2 * m + 1]);
      const Word32 d = A::negate(A::add(x[2 * k + 1], x[2 * m + 1]));
      const FactorPair wk = loadPair(tables.twiddles + 2 * k);
      const FactorPair wm = loadPair(tables.twiddles + 2 * m);
      const Word32 reK = A::add(A::byFirst(d, wk), A::bySecond(b, wk));
      const Word32 imK = A::sub(A::byFirst(b, wk), A::bySecond(d, wk));
      const Word32 reM = A::sub(A::byFirst(d, wm), A::bySecond(b, wm));
      const Word32 imM = A::negate(A::add(A::byFirst(b, wm), A::bySecond(d, wm)));
      store(out, k, m, {A::add(a, reK), A::add(c, imK)}, {A::add(a, reM), mirrored(c, imM)});
    }
  }

 private:
  static Word32 mirrored(Word32 c, Word32 im) { return A::add(A::negate(c), im); }
  static void store(Word32* out, int k, int m, Point atK, Point atM) {
    out[2 * k] = atK.re >> 1;
    out[2 * k + 1] = atK.im >> 1;
    out[2 * m] = atM.re >> 1;
    out[2 * m + 1] = atM.im >> 1;
  }
};

// The stages after the first, which alternate between the blocks, from `a` first: the result lies
// in `b` after an odd number of them, else in `a`.
template <class Steps, bool kInverse>
void remainingStages(Word32* a, Word32* b, const TransformTables& tables) {
  const Word16* twiddle = tables.rearranged;
  for (int s = 1; s <= tables.stages; ++s) {
    Steps::template stage<kInverse>(a, b, tables.points, s, twiddle);
    twiddle += 4 << s;
    std::swap(a, b);
  }
}

// In place.
template <class Steps, bool kInverse>
void complexTransform(Word32* x, const TransformTables& tables) {
  Word32 scratch[kMaxTransform];
  Steps::template firstStage<kInverse>(x, scratch, tables);
  remainingStages<Steps, kInverse>(scratch, x, tables);
  if (tables.stages % 2 == 0) std::copy(scratch, scratch + 2 * tables.points, x);
}

// The packed spectrum from that of the pairs, which `out` may hold. That of any points lies in
// plain.cpp.
template <class Steps>
void unpackForward(const Word32* z, Word32* out, const TransformTables& tables) {
  const Point first = {z[0], z[1]};
  out[0] = Steps::A::add(first.re, first.im);
  out[1] = Steps::A::sub(first.re, first.im);
  Steps::forwardSplit(z, out, tables);
}

extern template void unpackForward<Scalar<Saturating>>(const Word32*, Word32*,
                                                       const TransformTables&);

template <class Steps>
void unpack(const Word32* spectrum, Word32* out, const TransformTables& tables) {
  out[0] = Steps::A::add(spectrum[0], spectrum[1]) >> 1;
  out[1] = Steps::A::sub(spectrum[0], spectrum[1]) >> 1;
  Steps::inverseSplit(spectrum, out, tables);
}

// Magnitudes of complex points, and how large their parts are. A stage without saturation wants
// points below 2^30: it adds two, and what it multiplies is doubled. Forward it halves the sum, so
// that the points grow by no more than the roundings; back they may double.
//
// The split step adds and subtracts two points and multiplies that, so that it wants them below
// 2^29. It leaves points of at most sqrt(2) times the larger of the two.
inline constexpr Word32 kLargestPart = 5 << 27;  // the parts of points below 0.89 2^30

// Forward, words that use these bits need no look at the points: sqrt(2) 2^28, and half of 2^30
// before the split step.
inline bool hasForwardHeadroom(UsedBits bits) { return bits <= kKnownBits; }

// The packed spectrum then: sqrt(2) times the largest component, doubled by the split step, and the
// roundings.
inline UsedBits boundOfSpectrum(UsedBits bits) {
  return hasForwardHeadroom(bits) ? doubled(doubled(bits)) : kAllBits;
}

// Back, the points of the pairs' spectrum are at most twice as large as the components of a
// spectrum, which the split step takes below 2^28.
inline bool hasInverseHeadroom(const ConstBlock& spectrum) {
  return spectrum.bits <= bitsBelow(28);
}
inline std::uint32_t largestPoint(const ConstBlock& spectrum) { return 2 * (spectrum.bits + 1); }

}  // namespace arvessa::kernels
