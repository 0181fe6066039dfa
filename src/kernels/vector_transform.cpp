// SPDX-License-Identifier: Apache-2.0
// The fixed-point transform with four complex numbers at a time, for blocks with headroom.
//
// Points lie in rows, one for each frequency that the stages so far have told apart, and within a
// row in the order of their blocks, real and imaginary parts in arrays of their own. A butterfly
// combines the blocks b and b + B/2 of a row of B: neighbours have the same twiddle, and nothing is
// put in bit-reversed order. Only where rows have four blocks left, four rows are transposed, and
// neighbours have neighbouring twiddles. Operands, twiddles and floors are those of the definition.
//
// b w* is b w with the parts exchanged, before and after: the inverse is the forward transform of
// exchanged arrays, without its halving.

#include "kernels/kernels.h"

#ifdef ARVESSA_VECTOR_UNIT

#include <cstring>
#include <utility>

#include "kernels/fixed_transform.h"
#include "kernels/vector_unit.h"

namespace arvessa::kernels {
namespace {

struct Points {
  Words re;
  Words im;
};

inline Words falling(Words w) { return __builtin_shufflevector(w, w, 3, 2, 1, 0); }

// Where a pass finds its points and leaves them: pairs of parts in a row, of which the parts may be
// exchanged, or two arrays. The four points up to i may be taken in falling order.
struct PairsIn {
  const Word32* pairs;

  Points load(int i) const {
    const Words first = kernels::load(pairs + 2 * i);
    const Words second = kernels::load(pairs + 2 * i + 4);
    return {__builtin_shufflevector(first, second, 0, 2, 4, 6),
            __builtin_shufflevector(first, second, 1, 3, 5, 7)};
  }
  Points loadFalling(int i) const {
    const Words first = kernels::load(pairs + 2 * i - 6);
    const Words second = kernels::load(pairs + 2 * i - 2);
    return {__builtin_shufflevector(second, first, 2, 0, 6, 4),
            __builtin_shufflevector(second, first, 3, 1, 7, 5)};
  }
};

template <bool kExchanged>
struct PairsOut {
  Word32* pairs;

  void store(int i, Points p) const {
    if constexpr (kExchanged) std::swap(p.re, p.im);
    kernels::store(pairs + 2 * i, __builtin_shufflevector(p.re, p.im, 0, 4, 1, 5));
    kernels::store(pairs + 2 * i + 4, __builtin_shufflevector(p.re, p.im, 2, 6, 3, 7));
  }
  void storeFalling(int i, Points p) const { store(i - 3, {falling(p.re), falling(p.im)}); }
};

struct Apart {
  Word32* re;
  Word32* im;

  Points load(int i) const { return {kernels::load(re + i), kernels::load(im + i)}; }
  Points loadFalling(int i) const {
    const Points p = load(i - 3);
    return {falling(p.re), falling(p.im)};
  }
  void store(int i, Points p) const {
    kernels::store(re + i, p.re);
    kernels::store(im + i, p.im);
  }
  void storeFalling(int i, Points p) const { store(i - 3, {falling(p.re), falling(p.im)}); }
};

// The parts of four neighbours beside each other, between passes; neighbours begin at multiples of 4.
struct Quads {
  Word32* words;

  Points load(int i) const {
    return {kernels::load(words + 2 * i), kernels::load(words + 2 * i + 4)};
  }
  void store(int i, Points p) const {
    kernels::store(words + 2 * i, p.re);
    kernels::store(words + 2 * i + 4, p.im);
  }
};

// Products with a twiddle of any angle, of 0, whose cosine is the largest factor, and of pi / 2.
struct ByAny {
  Twiddles w;
  Turned operator()(Points p) const { return turn(halvesOf(p.re, p.im), w); }
};
struct ByNothing {
  Points operator()(Points p) const { return {mulLargest(p.re), mulLargest(p.im)}; }
};
struct ByRightAngle {
  explicit ByRightAngle(Word16 sine) : kept(splat(sine == -32768 ? 0 : -1)) {}
  // floor(-32766 x / 2^15) is floor(x / 2^14) - x; of -1 nothing of the first is left.
  Words times(Words x) const { return ((x >> 14) & kept) - x; }
  Turned operator()(Points p) const { return {times(p.im), times(p.re)}; }

  Words kept;
};

template <bool kHalve>
inline Words sum(Words a, Words b) {
  return kHalve ? halfSum(a, b) : a + b;
}
template <bool kHalve>
inline Words difference(Words a, Words b) {
  return kHalve ? halfDifference(a, b) : a - b;
}

template <bool kHalve>
inline void combine(Points& a, Points& b, Points t) {
  b = {difference<kHalve>(a.re, t.re), difference<kHalve>(a.im, t.im)};
  a = {sum<kHalve>(a.re, t.re), sum<kHalve>(a.im, t.im)};
}
template <bool kHalve>
inline void combine(Points& a, Points& b, Turned t) {
  b = {sum<kHalve>(a.re, t.negatedRe), difference<kHalve>(a.im, t.im)};
  a = {difference<kHalve>(a.re, t.negatedRe), sum<kHalve>(a.im, t.im)};
}

// Two stages of four blocks: with one product, and with one for the sums and one for the
// differences. The results are those of the rows g, g + 2 F, g + F and g + 3 F.
template <bool kHalve, class First, class OfSums, class OfDifferences>
inline void twoStages(Points (&p)[4], const First& first, const OfSums& ofSums,
                      const OfDifferences& ofDifferences) {
  combine<kHalve>(p[0], p[2], first(p[2]));
  combine<kHalve>(p[1], p[3], first(p[3]));
  combine<kHalve>(p[0], p[1], ofSums(p[1]));
  combine<kHalve>(p[2], p[3], ofDifferences(p[3]));
}

Words splatPair(const Word16* pair) {
  Word32 word = 0;
  std::memcpy(&word, pair, sizeof word);
  return splat(word);
}
Words loadPairs(const Word16* pairs) {
  Words words;
  std::memcpy(&words, pairs, sizeof words);
  return words;
}

// The first two stages: one row of N blocks becomes four.
template <bool kHalve, class In>
void firstPass(In in, Quads out, const TransformTables& tables) {
  const int quarter = tables.points / 4;
  const ByRightAngle turned(twiddlesOfStage(tables, 1)[5]);
  for (int b = 0; b < quarter; b += 4) {
    Points p[4];
    for (int i = 0; i < 4; ++i) p[i] = in.load(i * quarter + b);
    twoStages<kHalve>(p, ByNothing(), ByNothing(), turned);
    out.store(b, p[0]);
    out.store(quarter + b, p[2]);
    out.store(2 * quarter + b, p[1]);
    out.store(3 * quarter + b, p[3]);
  }
}

// The same forward, of any words: the first stage may saturate, and leaves parts of 30 bits, which
// are enough for the second.
[[gnu::noinline]] void firstStagesOfAny(PairsIn in, Quads work, Quads out,
                                        const TransformTables& tables) {
  const int half = tables.points / 2;
  const int quarter = half / 2;
  for (int b = 0; b < half; b += 4) {
    const Points p = in.load(b);
    const Points q = in.load(half + b);
    // A product by the largest factor has a negative.
    const Points t = {mulAnyByLargest(q.re), mulAnyByLargest(q.im)};
    work.store(b, {saturatedSum(p.re, t.re) >> 1, saturatedSum(p.im, t.im) >> 1});
    work.store(half + b, {saturatedSum(p.re, -t.re) >> 1, saturatedSum(p.im, -t.im) >> 1});
  }
  const ByRightAngle turned(twiddlesOfStage(tables, 1)[5]);
  for (int b = 0; b < quarter; b += 4) {
    Points p[4];
    for (int i = 0; i < 4; ++i) p[i] = work.load(i * quarter + b);
    combine<true>(p[0], p[1], ByNothing()(p[1]));
    combine<true>(p[2], p[3], turned(p[3]));
    out.store(b, p[0]);
    out.store(quarter + b, p[2]);
    out.store(2 * quarter + b, p[1]);
    out.store(3 * quarter + b, p[3]);
  }
}

// Stages s and s + 1: rows of `blocks` blocks become four times as many of a quarter.
template <bool kHalve>
void pass(Quads in, Quads out, int s, int blocks, const TransformTables& tables) {
  const int rows = 1 << s;
  const int quarter = blocks / 4;
  const Word16* const first = twiddlesOfStage(tables, s);
  const Word16* const second = twiddlesOfStage(tables, s + 1);
  const auto row = [&](int g, const auto& product, const auto& ofSums, const auto& ofDifferences) {
    for (int b = 0; b < quarter; b += 4) {
      Points p[4];
      for (int i = 0; i < 4; ++i) p[i] = in.load(g * blocks + i * quarter + b);
      twoStages<kHalve>(p, product, ofSums, ofDifferences);
      out.store(g * quarter + b, p[0]);
      out.store((g + rows) * quarter + b, p[2]);
      out.store((g + 2 * rows) * quarter + b, p[1]);
      out.store((g + 3 * rows) * quarter + b, p[3]);
    }
  };
  row(0, ByNothing(), ByNothing(), ByRightAngle(second[4 * rows + 1]));
  for (int g = 1; g < rows; ++g) {
    row(g, ByAny{twiddlesOf(splatPair(first + 4 * g))},
        ByAny{twiddlesOf(splatPair(second + 4 * g))},
        ByAny{twiddlesOf(splatPair(second + 4 * (g + rows)))});
  }
}

// Stage 2 alone: four rows become eight.
template <bool kHalve>
void stage2(Quads in, Quads out, const TransformTables& tables) {
  const int half = tables.points / 8;
  for (int g = 0; g < 4; ++g) {
    const ByAny product = {twiddlesOf(splatPair(twiddlesOfStage(tables, 2) + 4 * g))};
    for (int b = 0; b < half; b += 4) {
      Points p = in.load(2 * g * half + b);
      Points q = in.load((2 * g + 1) * half + b);
      combine<kHalve>(p, q, product(q));
      out.store(g * half + b, p);
      out.store((g + 4) * half + b, q);
    }
  }
}

// The last two stages: four rows of four blocks at a time. `stages` takes the points and the twiddles.
template <class Out, class Stages>
inline void lastPass(Quads in, Out out, int s, const TransformTables& tables, Stages stages) {
  const int rows = 1 << s;
  const Word16* const first = twiddlesOfStage(tables, s);
  const Word16* const second = twiddlesOfStage(tables, s + 1);
  for (int g = 0; g < rows; g += 4) {
    Words re[4];
    Words im[4];
    loadTransposed(in.words + 8 * g, 8, re);
    loadTransposed(in.words + 8 * g + 4, 8, im);
    Points p[4] = {{re[0], im[0]}, {re[1], im[1]}, {re[2], im[2]}, {re[3], im[3]}};
    const Words each =
        __builtin_shufflevector(loadPairs(first + 4 * g), loadPairs(first + 4 * g + 8), 0, 2, 4, 6);
    stages(p, each, loadPairs(second + 2 * g), loadPairs(second + 2 * (g + rows)));
    out.store(g, p[0]);
    out.store(g + rows, p[2]);
    out.store(g + 2 * rows, p[1]);
    out.store(g + 3 * rows, p[3]);
  }
}

// Whether words lie in -limit .. limit - 1.
class Within {
 public:
  explicit Within(Word32 limit) : toTheTop_((1U << 31) - ofBits(splat(limit))) {}
  void see(Words words) { beyond_ |= ofBits(words ^ (words >> 31)) + toTheTop_; }
  void see(const Points& p) {
    see(p.re);
    see(p.im);
  }
  bool all() const { return !any(ofBits(beyond_) < 0); }

 private:
  UnsignedWords toTheTop_;
  UnsignedWords beyond_ = {0, 0, 0, 0};
};

[[gnu::noinline]] bool areWithin(const Word32* words, int count, Word32 limit) {
  Within within(limit);
#pragma GCC unroll 8
  for (int i = 0; i < count; i += 4) within.see(load(words + i));
  return within.all();
}

// A product with a twiddle, and sums that saturate, where what is multiplied has parts within
// kLargestTurned: no product leaves the range, so that it has a negative.
inline void stageOfAny(Points& a, Points& b, Words twiddles, Within& within) {
  within.see(b);
  const Factors c = factorsOf(twiddles);
  const Factors s = factorsOf(twiddles >> 16);
  const Points t = {mulQ15(b.re, c) - mulQ15(b.im, s), mulQ15(b.re, s) + mulQ15(b.im, c)};
  b = {saturatedSum(a.re, -t.re), saturatedSum(a.im, -t.im)};
  a = {saturatedSum(a.re, t.re), saturatedSum(a.im, t.im)};
}

// The last two stages back, whose sums may saturate: all the energy of a click meets in one word.
[[gnu::noinline]] bool lastPassOfAny(Quads in, PairsOut<true> out, int s,
                                     const TransformTables& tables) {
  Within within(kLargestTurned);
  lastPass(in, out, s, tables, [&](Points(&p)[4], Words first, Words ofSums, Words ofDifferences) {
    stageOfAny(p[0], p[2], first, within);
    stageOfAny(p[1], p[3], first, within);
    stageOfAny(p[0], p[1], ofSums, within);
    stageOfAny(p[2], p[3], ofDifferences, within);
  });
  return within.all();
}

// The stages after the first two, from `work` to `out`. With `largest`, what the points are below,
// they stop where the sums might saturate: false. What `used` holds is overwritten.
template <bool kHalve, class Out>
bool remainingPasses(Quads work, Quads used, Out out, const TransformTables& tables,
                     std::uint32_t largest) {
  // What two stages add up is four points, and what the second multiplies is two.
  const auto isSafe = [&](Quads points, int stages) {
    if constexpr (!kHalve) {
      if (largest > 1U << 28) {
        if (!areWithin(points.words, 2 * tables.points, kLargestPart / 2)) return false;
        largest = 1U << 29;
      }
      largest <<= stages;
    }
    return true;
  };
  int s = 2;
  if (tables.stages % 2 == 0) {  // an odd number, with the first
    if (!isSafe(work, 1)) return false;
    stage2<kHalve>(work, used, tables);
    std::swap(work, used);
    ++s;
  }
  for (; tables.points >> s > 4; s += 2) {
    if (!isSafe(work, 2)) return false;
    pass<kHalve>(work, used, s, tables.points >> s, tables);
    std::swap(work, used);
  }
  if constexpr (!kHalve) {
    if (!isSafe(work, 2)) return lastPassOfAny(work, out, s, tables);
  }
  lastPass(work, out, s, tables, [](Points(&p)[4], Words first, Words ofSums, Words ofDifferences) {
    twoStages<kHalve>(p, ByAny{twiddlesOf(first)}, ByAny{twiddlesOf(ofSums)},
                      ByAny{twiddlesOf(ofDifferences)});
  });
  return true;
}

// Bins k .. k + 3 and their mirror images, from the spectrum of the pairs or, with kInverse, back.
// The middle bin is its own image, in whose form it is left.
template <bool kInverse, class In, class Out>
void splitBins(In in, Out out, const TransformTables& tables) {
  const int n = tables.points;
  for (int k = 1; k < n / 2; k += 4) {
    const Points atK = in.load(k);
    const Points atM = in.loadFalling(n - k);
    const Words a = atK.re + atM.re;
    const Words b = kInverse ? atK.re - atM.re : atM.re - atK.re;
    const Words c = atK.im - atM.im;
    const Words d = kInverse ? -(atK.im + atM.im) : atK.im + atM.im;
    const Words wK = loadPairs(tables.twiddles + 2 * k);
    const Words wM = loadPairs(tables.twiddles + 2 * (n - k - 3));
    const Twiddles twiddlesK = twiddlesOf(wK);
    const Twiddles twiddlesM = twiddlesOf(__builtin_shufflevector(wM, wM, 3, 2, 1, 0));
    const Halves halves = halvesOf(d, b);
    if constexpr (kInverse) {
      const Turned k4 = turnExchanged(halves, twiddlesK);
      const Turned m4 = turn(halves, twiddlesM);
      out.store(k, {halfSum(a, k4.im), halfDifference(c, k4.negatedRe)});
      out.storeFalling(n - k, {halfDifference(a, m4.negatedRe), halfDifference(-c, m4.im)});
    } else {
      const Turned k4 = turn(halves, twiddlesK);
      const Turned m4 = turnExchanged(halves, twiddlesM);
      out.store(k, {halfDifference(a, k4.negatedRe), halfSum(c, k4.im)});
      out.storeFalling(n - k, {halfSum(a, m4.im), halfDifference(m4.negatedRe, c)});
    }
  }
}

}  // namespace

UsedBits Vector::forwardTransform(Block x, const TransformTables& tables, std::span<Word32> out) {
  const int n = tables.points;
  const bool isLarge = !hasForwardHeadroom(x.bits);
  Word32 scratch[kMaxTransform];
  Word32* const in = x.words.data();
  Word32* const to = out.data();
  const Apart pairs = {scratch, scratch + n};
  if (isLarge) {
    firstStagesOfAny(PairsIn{in}, Quads{scratch}, Quads{to}, tables);
    if (!areWithin(to, 2 * n, kLargestPart)) return Plain::forwardTransform(x, tables, out);
  } else {
    firstPass<true>(PairsIn{in}, Quads{to}, tables);
  }
  remainingPasses<true>(Quads{to}, Quads{in}, pairs, tables, 0);
  if (isLarge && !areWithin(scratch, 2 * n, kLargestPart / 2)) {
    for (int k = 0; k < n; k += 4) PairsOut<false>{in}.store(k, pairs.load(k));
    saturating::forwardUnpack(in, to, tables);
    return kAllBits;
  }
  to[0] = pairs.re[0] + pairs.im[0];
  to[1] = pairs.re[0] - pairs.im[0];
  splitBins<false>(pairs, PairsOut<false>{to}, tables);
  return isLarge ? bitsBelow(30) : boundOfSpectrum(x.bits);
}

void Vector::inverseTransform(ConstBlock spectrum, const TransformTables& tables,
                              std::span<Word32> out) {
  if (!hasInverseHeadroom(spectrum)) return Plain::inverseTransform(spectrum, tables, out);
  const int n = tables.points;
  Word32 scratch[kMaxTransform];
  const Word32* const in = spectrum.words.data();
  // The last pass does not read what it writes.
  Word32* const first = tables.stages == 5 ? scratch : out.data();
  Word32* const second = tables.stages == 5 ? out.data() : scratch;
  first[0] = (in[0] + in[1]) >> 1;
  first[n] = (in[0] - in[1]) >> 1;
  splitBins<true>(PairsIn{in}, Apart{first, first + n}, tables);
  firstPass<false>(Apart{first + n, first}, Quads{second}, tables);
  const bool isDone = remainingPasses<false>(
      Quads{second}, Quads{first}, PairsOut<true>{out.data()}, tables, 4 * largestPoint(spectrum));
  if (!isDone) Plain::inverseTransform(spectrum, tables, out);
}

}  // namespace arvessa::kernels

#endif  // ARVESSA_VECTOR_UNIT
