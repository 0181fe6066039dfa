// SPDX-License-Identifier: Apache-2.0
#include "kernels/fixed_transform.h"

#include <algorithm>
#include <utility>

#include "arithmetic/operators.h"

namespace arvessa::kernels::saturating {
namespace {

struct Point {
  Word32 re;
  Word32 im;
};
inline Point pointAt(const Word32* words) { return {words[0], words[1]}; }

// A twiddle (cos t, -sin t).
struct Twiddle {
  Word16 cosine;
  Word16 sine;
};
inline Twiddle twiddleAt(const Word16* pair) { return {pair[0], pair[1]}; }

// Each product is floored before the sum.
inline Word32 difference(Word32 x, Word16 a, Word32 y, Word16 b) {
  return lSub(mpy32x16(x, a), mpy32x16(y, b));
}
inline Word32 sum(Word32 x, Word16 a, Word32 y, Word16 b) {
  return lAdd(mpy32x16(x, a), mpy32x16(y, b));
}

// a + t and a - t, forward halved.
void combine(Point a, Point t, Word32* sum, Word32* difference, bool inverse) {
  const int halve = inverse ? 0 : 1;
  sum[0] = lAdd(a.re, t.re) >> halve;
  sum[1] = lAdd(a.im, t.im) >> halve;
  difference[0] = lSub(a.re, t.re) >> halve;
  difference[1] = lSub(a.im, t.im) >> halve;
}

// With t = b w, or for the inverse b w*. The stage before has written all of b.
// NOLINTBEGIN(clang-analyzer-core.CallAndMessage)
void butterfly(const Word32* in, Twiddle w, Word32* to, Word32* rest, bool inverse) {
  const Point b = pointAt(in + 2);
  const Point forward = {difference(b.re, w.cosine, b.im, w.sine),
                         sum(b.re, w.sine, b.im, w.cosine)};
  const Point back = {sum(b.re, w.cosine, b.im, w.sine), difference(b.im, w.cosine, b.re, w.sine)};
  combine(pointAt(in), inverse ? back : forward, to, rest, inverse);
}
// NOLINTEND(clang-analyzer-core.CallAndMessage)

// Stage s: 2^s twiddles, each for a run of neighbouring butterflies; each is stored twice, but in
// the last stage, where a run is a single butterfly.
void stage(const Word32* in, Word32* out, int points, int s, const Word16* twiddle, bool inverse) {
  const int run = points >> (s + 1);
  const int step = run == 1 ? 2 : 4;
  for (int group = 0; group < 1 << s; ++group, twiddle += step) {
    for (int k = 0; k < run; ++k, in += 4, out += 2) {
      butterfly(in, twiddleAt(twiddle), out, out + points, inverse);
    }
  }
}

// Halves.
void store(Word32* to, Word32 re, Word32 im) {
  to[0] = re >> 1;
  to[1] = im >> 1;
}

}  // namespace

void firstStage(const Word32* from, Word32* to, const TransformTables& tables, bool inverse) {
  // The twiddle is 1, as near as Q15 comes: 32767.
  const Word16 one = tables.twiddles[0];
  for (int k = 0; k < tables.points; k += 2) {
    const Word32* const a = from + 2 * (tables.reversedBits[k / 2] >> (8 - tables.stages));
    const Word32* const b = a + tables.points;
    const Point t = {mpy32x16(b[0], one), mpy32x16(b[1], one)};
    combine(pointAt(a), t, to + k, to + tables.points + k, inverse);
  }
}

Word32* stagesFrom(int first, Word32* a, Word32* b, const TransformTables& tables, bool inverse) {
  for (int s = first; s <= tables.stages; ++s) {
    stage(a, b, tables.points, s, twiddlesOfStage(tables, s), inverse);
    std::swap(a, b);
  }
  return a;
}

void complexTransform(Word32* x, const TransformTables& tables, bool inverse) {
  Word32 scratch[kMaxTransform];
  firstStage(x, scratch, tables, inverse);
  const Word32* const result = stagesFrom(1, scratch, x, tables, inverse);
  if (result == scratch) std::copy(scratch, scratch + 2 * tables.points, x);
}

void forwardSplit(const Word32* z, Word32* out, const TransformTables& tables) {
  for (int k = 1; k <= tables.points / 2; ++k) {
    const int m = tables.points - k;
    const Word32 a = lAdd(z[2 * k], z[2 * m]);
    const Word32 b = lSub(z[2 * m], z[2 * k]);
    const Word32 c = lSub(z[2 * k + 1], z[2 * m + 1]);
    const Word32 d = lAdd(z[2 * k + 1], z[2 * m + 1]);
    const Twiddle wk = twiddleAt(tables.twiddles + 2 * k);
    const Twiddle wm = twiddleAt(tables.twiddles + 2 * m);
    const Word32 imM = lAdd(lNegate(mpy32x16(b, wm.cosine)), mpy32x16(d, wm.sine));
    store(out + 2 * k, lAdd(a, difference(d, wk.cosine, b, wk.sine)),
          lAdd(c, sum(b, wk.cosine, d, wk.sine)));
    store(out + 2 * m, lAdd(a, sum(d, wm.cosine, b, wm.sine)), lAdd(lNegate(c), imM));
  }
}

void inverseSplit(const Word32* x, Word32* out, const TransformTables& tables) {
  for (int k = 1; k <= tables.points / 2; ++k) {
    const int m = tables.points - k;
    const Word32 a = lAdd(x[2 * k], x[2 * m]);
    const Word32 b = lNegate(lSub(x[2 * m], x[2 * k]));
    const Word32 c = lSub(x[2 * k + 1], x[2 * m + 1]);
    const Word32 d = lNegate(lAdd(x[2 * k + 1], x[2 * m + 1]));
    const Twiddle wk = twiddleAt(tables.twiddles + 2 * k);
    const Twiddle wm = twiddleAt(tables.twiddles + 2 * m);
    const Word32 imM = lNegate(sum(b, wm.cosine, d, wm.sine));
    store(out + 2 * k, lAdd(a, sum(d, wk.cosine, b, wk.sine)),
          lAdd(c, difference(b, wk.cosine, d, wk.sine)));
    store(out + 2 * m, lAdd(a, difference(d, wm.cosine, b, wm.sine)), lAdd(lNegate(c), imM));
  }
}

void forwardUnpack(const Word32* z, Word32* out, const TransformTables& tables) {
  const Point first = pointAt(z);
  out[0] = lAdd(first.re, first.im);
  out[1] = lSub(first.re, first.im);
  forwardSplit(z, out, tables);
}

void inverseUnpack(const Word32* x, Word32* out, const TransformTables& tables) {
  out[0] = lAdd(x[0], x[1]) >> 1;
  out[1] = lSub(x[0], x[1]) >> 1;
  inverseSplit(x, out, tables);
}

}  // namespace arvessa::kernels::saturating
