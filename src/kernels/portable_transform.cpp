// SPDX-License-Identifier: Apache-2.0
// The fixed-point transform in fewer steps on any processor: one number at a time, without
// saturation where the points have headroom.
//
// Forward, the sums of a stage wait for their halving until the next one reads them. Half of a sum
// is multiplied in its double, which is the sum without its lowest bit.

#include <algorithm>
#include <utility>

#include "arithmetic/operators.h"
#include "kernels/fixed_transform.h"
#include "kernels/products.h"

namespace arvessa::kernels {
namespace {

// What a stage leaves to the next: forward twice the points.
template <bool kInverse>
constexpr int kWaiting = kInverse ? 0 : 1;

// a + b w and a - b w, or with kInverse w*, of points that wait for a shift by kShift.
template <bool kInverse, int kShift>
inline void butterfly(const TwoPoints& in, FactorPair w, Point& sum, Point& difference) {
  const Point a = {in.a.re >> kShift, in.a.im >> kShift};
  const Word32 re = kShift == 1 ? in.b.re & ~1 : 2 * in.b.re;
  const Word32 im = kShift == 1 ? in.b.im & ~1 : 2 * in.b.im;
  sum = {addByFirst(a.re, re, w), addByFirst(a.im, im, w)};
  sum.re = kInverse ? addBySecond(sum.re, im, w) : sum.re - addBySecond(0, im, w);
  sum.im = kInverse ? sum.im - addBySecond(0, re, w) : addBySecond(sum.im, re, w);
  difference = {2 * a.re - sum.re, 2 * a.im - sum.im};
}

// Reads `from` in bit-reversed order. The twiddle is 1, as near as Q15 comes: 32767.
template <bool kInverse>
void firstStage(const Word32* from, Word32* to, const TransformTables& tables) {
  const int half = tables.points / 2;
  const FactorPair one = loadPair(tables.twiddles);
  Word32* difference = to + tables.points;
  for (int k = 0; k < half; ++k) {
    const Word32* const a = from + 2 * (tables.reversedBits[k] >> (8 - tables.stages));
    const Word32* const b = a + tables.points;
    const Point sum = {addByFirst(a[0], 2 * b[0], one), addByFirst(a[1], 2 * b[1], one)};
    const Point rest = {2 * a[0] - sum.re, 2 * a[1] - sum.im};
    storeSum(to, sum);
    storeDifference(difference, rest);
  }
}

// The same forward, of any words.
void firstStageOfAny(const Word32* from, Word32* to, const TransformTables& tables) {
  const Word16 one = tables.twiddles[0];
  Word32* rest = to + tables.points;
  for (int k = 0; k < tables.points / 2; ++k) {
    const Word32* const a = from + 2 * (tables.reversedBits[k] >> (8 - tables.stages));
    const Word32* const b = a + tables.points;
    // A product by 32767 has a negative.
    const Point t = {productOfAny(b[0], one), productOfAny(b[1], one)};
    storeSum(to, {addSaturated(a[0], t.re), addSaturated(a[1], t.im)});
    storeDifference(rest, {addSaturated(a[0], -t.re), addSaturated(a[1], -t.im)});
  }
}

// Stage s: 2^s twiddles, each for a run of neighbouring butterflies; each is stored twice.
template <bool kInverse>
void stage(const Word32* in, Word32* out, int points, int s, const Word16* twiddle) {
  Word32* difference = out + points;
  for (int group = 0; group < 1 << s; ++group, twiddle += 4) {
    const FactorPair w = loadPair(twiddle);
    for (int left = points >> (s + 1); left > 0; --left) {
      Point sum, rest;
      butterfly<kInverse, kWaiting<kInverse>>(loadTwoPoints(in), w, sum, rest);
      storeSum(out, sum);
      storeDifference(difference, rest);
    }
  }
}

// The last: a twiddle for each butterfly. Nothing waits after it.
template <bool kInverse>
void lastStage(const Word32* in, Word32* out, int points, const Word16* twiddle) {
  constexpr int kShift = kWaiting<kInverse>;
  Word32* difference = out + points;
  for (int k = 0; k < points; k += 2) {
    Point sum, rest;
    butterfly<kInverse, kShift>(loadTwoPoints(in), loadPair(twiddle + k), sum, rest);
    storeSum(out, {sum.re >> kShift, sum.im >> kShift});
    storeDifference(difference, {rest.re >> kShift, rest.im >> kShift});
  }
}

// The stages after the first, which alternate between the blocks, from `a` first. Returns the block
// that holds the result. Before each stage `isSafe` is asked. Back, the definition takes over where it
// is not; forward, where points wait for their halving, nothing does: nullptr.
template <bool kInverse, class IsSafe>
Word32* stagesAfterFirst(Word32* a, Word32* b, const TransformTables& tables, IsSafe isSafe) {
  const Word16* twiddle = tables.rearranged;
  for (int s = 1; s <= tables.stages; ++s, twiddle += 2 << s) {
    if (!isSafe(a)) {
      return kInverse ? saturating::stagesFrom(s, a, b, tables, kInverse) : nullptr;
    }
    if (s < tables.stages) {
      stage<kInverse>(a, b, tables.points, s, twiddle);
    } else {
      lastStage<kInverse>(a, b, tables.points, twiddle);
    }
    std::swap(a, b);
  }
  return a;
}

// Bins k and N - k of the samples' spectrum from that of their pairs or, with kInverse, back. `out`
// may be the input.
template <bool kInverse>
void split(const Word32* in, Word32* out, const TransformTables& tables) {
  // NOLINTNEXTLINE(clang-analyzer-core.uninitialized.Assign): the last stage has written all points
  const Word32 first = in[0];
  const Word32 second = in[1];
  out[0] = (first + second) >> kWaiting<!kInverse>;
  out[1] = (first - second) >> kWaiting<!kInverse>;
  for (int k = 2; k <= tables.points; k += 2) {
    const int m = 2 * tables.points - k;
    const Point atK = {in[k], in[k + 1]};
    const Point atM = {in[m], in[m + 1]};
    const Word32 a = atK.re + atM.re;
    const Word32 c = atK.im - atM.im;
    const Word32 b = 2 * (kInverse ? atK.re - atM.re : atM.re - atK.re);
    const Word32 d = 2 * (kInverse ? -(atK.im + atM.im) : atK.im + atM.im);
    const FactorPair wk = loadPair(tables.twiddles + k);
    const FactorPair wm = loadPair(tables.twiddles + m);
    Word32 reK = addByFirst(a, d, wk);
    Word32 imK = addByFirst(c, b, wk);
    Word32 reM = addByFirst(a, d, wm);
    Word32 imM = addByFirst(c, b, wm);  // turned round
    if constexpr (kInverse) {
      reK = addBySecond(reK, b, wk);
      imK -= addBySecond(0, d, wk);
      reM -= addBySecond(0, b, wm);
      imM = -addBySecond(imM, d, wm);
    } else {
      reK -= addBySecond(0, b, wk);
      imK = addBySecond(imK, d, wk);
      reM = addBySecond(reM, b, wm);
      imM = addBySecond(-imM, d, wm);
    }
    out[k] = reK >> 1;
    out[k + 1] = imK >> 1;
    out[m] = reM >> 1;
    out[m + 1] = imM >> 1;
  }
}

// Whether all lie in -limit .. limit - 1.
bool areWithin(const Word32* words, int count, Word32 limit) {
  const std::uint32_t toTheTop = (1U << 31) - static_cast<std::uint32_t>(limit);
  std::uint32_t beyond = 0;
#pragma GCC unroll 4
  // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): a stage has written all words
  for (int i = 0; i < count; ++i) beyond |= usedBits(words[i]) + toTheTop;
  return beyond < 1U << 31;
}

}  // namespace

UsedBits Portable::forwardTransform(Block x, const TransformTables& tables, std::span<Word32> out) {
  const int words = 2 * tables.points;
  Word32 scratch[kMaxTransform];
  if (hasForwardHeadroom(x.bits)) {
    firstStage<false>(x.words.data(), scratch, tables);
    Word32* const z = stagesAfterFirst<false>(scratch, out.data(), tables,
                                              [](const Word32* /*points*/) { return true; });
    split<false>(z, out.data(), tables);
    return boundOfSpectrum(x.bits);
  }
  // The first stage alone can saturate. It leaves parts of 30 bits, which suffice for the second:
  // its twiddles are 1 and -j. After it the mean of four points is mostly small enough.
  firstStageOfAny(x.words.data(), scratch, tables);
  int stage = 0;
  Word32* const z = stagesAfterFirst<false>(scratch, out.data(), tables, [&](const Word32* points) {
    return ++stage != 2 || areWithin(points, words, 2 * kLargestPart);
  });
  if (z == nullptr) return Plain::forwardTransform(x, tables, out);
  if (!areWithin(z, words, kLargestPart / 2)) {
    saturating::forwardUnpack(z, out.data(), tables);
    return kAllBits;
  }
  split<false>(z, out.data(), tables);
  return bitsBelow(30);
}

void Portable::inverseTransform(ConstBlock spectrum, const TransformTables& tables,
                                std::span<Word32> out) {
  if (!hasInverseHeadroom(spectrum)) return Plain::inverseTransform(spectrum, tables, out);
  Word32 scratch[kMaxTransform];
  split<true>(spectrum.words.data(), out.data(), tables);
  firstStage<true>(out.data(), scratch, tables);
  std::uint32_t largest = largestPoint(spectrum);
  const auto doubles = [&](const Word32* points) {
    largest *= 2;
    if (largest <= 1U << 29) return true;
    largest = 1U << 29;
    return areWithin(points, 2 * tables.points, kLargestPart);
  };
  Word32* const x = stagesAfterFirst<true>(scratch, out.data(), tables, doubles);
  if (x != out.data()) std::copy(x, x + 2 * tables.points, out.data());
}

}  // namespace arvessa::kernels
