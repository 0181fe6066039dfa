// SPDX-License-Identifier: Apache-2.0
#pragma once
// The 128-point float transform, two of its stages a pass, over V: a float, or a vector of four.
// Only where a number lies differs from the definition; every number has its operations.
//
// In bit-reversed order, place 4 a + b holds the element 16 rev(b) + rev(a). So the first pass
// combines whole quarters of the block in natural order. The second combines places 4 d, d = 0..3,
// apart, and the last places 16 c apart: c and rev(c) change places before it.

#include <cstring>

#include "kernels/float_kernels.h"
#include "kernels/float_transform_tables.h"

namespace arvessa::kernels {

inline constexpr int kQuarter = kFloatBins / 4;
inline constexpr int kMiddle = kFloatBins / 2;
inline constexpr int kReversed[4] = {0, 2, 1, 3};

template <class V>
inline constexpr int kWidth = sizeof(V) / sizeof(float);

template <class V>
struct Complex {
  V re;
  V im;
};

template <class V>
inline V load(const float* from) {
  if constexpr (kWidth<V> == 1) return *from;
  V v;
  std::memcpy(&v, from, sizeof v);
  return v;
}
// At a multiple of V's size. SSE2 adds and multiplies what lies there without loading it first.
template <class V>
inline V loadAligned(const float* from) {
  if constexpr (kWidth<V> == 1) return *from;
  return load<V>(static_cast<const float*>(__builtin_assume_aligned(from, sizeof(V))));
}
template <class V>
inline void store(float* to, const V& v) {
  if constexpr (kWidth<V> == 1) {
    *to = v;
  } else {
    std::memcpy(to, &v, sizeof v);
  }
}
template <class V>
inline Complex<V> loadAligned(const HalfSpectrum& from, int i) {
  return {loadAligned<V>(from.re + i), loadAligned<V>(from.im + i)};
}
template <class V>
inline void store(HalfSpectrum& to, int i, const Complex<V>& v) {
  store(to.re + i, v.re);
  store(to.im + i, v.im);
}

template <class V>
inline V reversed(const V& v) {
  if constexpr (kWidth<V> == 1) {
    return v;
  } else {
    return __builtin_shufflevector(v, v, 3, 2, 1, 0);
  }
}

// Columns 0..3 of four rows, a quarter of the block apart; of one row, of one number each.
template <class V>
inline void loadColumns(const float* rows, V (&columns)[4]) {
  if constexpr (kWidth<V> == 1) {
    for (int i = 0; i < 4; ++i) columns[i] = rows[i];
  } else {
    const V r0 = loadAligned<V>(rows);
    const V r1 = loadAligned<V>(rows + kQuarter);
    const V r2 = loadAligned<V>(rows + 2 * kQuarter);
    const V r3 = loadAligned<V>(rows + 3 * kQuarter);
    const V low01 = __builtin_shufflevector(r0, r1, 0, 4, 1, 5);
    const V low23 = __builtin_shufflevector(r2, r3, 0, 4, 1, 5);
    const V high01 = __builtin_shufflevector(r0, r1, 2, 6, 3, 7);
    const V high23 = __builtin_shufflevector(r2, r3, 2, 6, 3, 7);
    columns[0] = __builtin_shufflevector(low01, low23, 0, 1, 4, 5);
    columns[1] = __builtin_shufflevector(low01, low23, 2, 3, 6, 7);
    columns[2] = __builtin_shufflevector(high01, high23, 0, 1, 4, 5);
    columns[3] = __builtin_shufflevector(high01, high23, 2, 3, 6, 7);
  }
}

enum Direction { kForward, kInverse };

// A twiddle, of W a float or as many as there are elements. Its product is by the conjugate in the
// inverse transform.
template <class W>
struct Twiddle {
  W cosine;
  W sine;
  template <Direction kDirection, class V>
  Complex<V> times(const Complex<V>& x) const {
    if constexpr (kDirection == kInverse) {
      return {(x.re * cosine) + (x.im * sine), (cosine * x.im) - (x.re * sine)};
    } else {
      return {(x.re * cosine) - (x.im * sine), (cosine * x.im) + (x.re * sine)};
    }
  }
};
template <class W>
inline Twiddle<W> stageTwiddle(int i) {
  return {loadAligned<W>(kStageCosine + i), loadAligned<W>(kStageSine + i)};
}

// 1 and -j. The definition adds products by 0. In the forward transform these do not count: no
// number of a block is -0, and no sum or difference of two is if the first of them is not, whatever
// the sign of a zero among the second. In the inverse transform they do.
struct One {
  template <Direction kDirection, class V>
  Complex<V> times(const Complex<V>& x) const {
    if constexpr (kDirection == kForward) return x;
    return Twiddle<float>{1.0F, 0.0F}.times<kDirection>(x);
  }
};
struct RightAngle {
  template <Direction kDirection, class V>
  Complex<V> times(const Complex<V>& x) const {
    constexpr float kSine = -32768.0F / 32767.0F;
    if constexpr (kDirection == kForward) return {x.im * -kSine, x.re * kSine};
    return Twiddle<float>{0.0F, kSine}.times<kDirection>(x);
  }
};

template <Direction kDirection, class V, class W>
inline void butterfly(Complex<V>& upper, Complex<V>& lower, const W& twiddle) {
  const Complex<V> t = twiddle.template times<kDirection>(lower);
  lower = {upper.re - t.re, upper.im - t.im};
  upper = {upper.re + t.re, upper.im + t.im};
}

// Two stages: in the second, the twiddles of two columns.
template <Direction kDirection, class V, class W, class X, class Y>
inline void twoStages(Complex<V> (&x)[4], const W& first, const X& second, const Y& third) {
  butterfly<kDirection>(x[0], x[1], first);
  butterfly<kDirection>(x[2], x[3], first);
  butterfly<kDirection>(x[0], x[2], second);
  butterfly<kDirection>(x[1], x[3], third);
}

// In the forward transform, every stage of the definition halves. The first five do not here: the
// block that it is given is 1/32 of the definition's. Both are exact: a twiddle of stage s is a
// multiple of 2^-(22 + s), s = 1..4, so that after five stages all numbers are multiples of 2^-136,
// for which denormals suffice.
inline constexpr float kFirstHalvings = 1.0F / 32;

// In bit-reversed order of the places, from natural order, which it overwrites.
template <class V, Direction kDirection>
inline void complexTransform(HalfSpectrum& block, HalfSpectrum& out) {
  const auto pass = [&block](int begin, int end, int distance, const auto&... twiddles) {
#pragma GCC unroll 1
    for (int i = begin; i < end; i += kWidth<V>) {
      Complex<V> x[4];
      for (int b = 0; b < 4; ++b) x[b] = loadAligned<V>(block, i + distance * kReversed[b]);
      twoStages<kDirection>(x, twiddles...);
      for (int b = 0; b < 4; ++b) store(block, i + distance * b, x[b]);
    }
  };
  pass(0, kQuarter, kQuarter, One{}, One{}, RightAngle{});
  pass(0, 4, 4, One{}, One{}, RightAngle{});
#pragma GCC unroll 1
  for (int b = 1; b < 4; ++b) {
    pass(kQuarter * b, kQuarter * b + 4, 4, stageTwiddle<float>(b), stageTwiddle<float>(4 + b),
         stageTwiddle<float>(8 + b));
  }
#pragma GCC unroll 1
  for (int m = 0; m < kQuarter; m += kWidth<V>) {
    const int rows = kWidth<V> == 1 ? kQuarter * (m % 4) + 4 * (m / 4) : m;
    V re[4];
    V im[4];
    loadColumns(block.re + rows, re);
    loadColumns(block.im + rows, im);
    Complex<V> x[4];
    for (int c = 0; c < 4; ++c) x[c] = {re[kReversed[c]], im[kReversed[c]]};
    twoStages<kDirection>(x, stageTwiddle<V>(12 + m), stageTwiddle<V>(28 + m),
                          stageTwiddle<V>(28 + kQuarter + m));
    for (int c = 0; c < 4; ++c) {
      if constexpr (kDirection == kForward) x[c] = {x[c].re * 0.5F, x[c].im * 0.5F};
      store(out, kQuarter * c + m, x[c]);
    }
  }
}

// Bin k and its mirror image m from the pairs' spectrum, or back. The twiddles are mirror images,
// too: the cosine of m is minus that of k, the sine the same. A product of a negated number is
// the negated product, so that what the definition of the inverse adds is subtracted here.
template <Direction kDirection, class V>
inline void splitBin(const Complex<V>& k, const Complex<V>& m, const Twiddle<V>& twiddle,
                     Complex<V>& atK, Complex<V>& atM) {
  const V a = k.re + m.re;
  const V b = k.im - m.im;
  const V g = k.im + m.im;
  const V h = m.re - k.re;
  const V gc = g * twiddle.cosine;
  const V gs = g * twiddle.sine;
  const V hc = h * twiddle.cosine;
  const V hs = h * twiddle.sine;
  if constexpr (kDirection == kForward) {
    const V turned = hc + gs;
    atK = {(a + (gc - hs)) * 0.5F, (b + turned) * 0.5F};
    atM = {(a + (hs - gc)) * 0.5F, (turned - b) * 0.5F};
  } else {
    atK = {(a + (-hs - gc)) * 0.5F, (b + (gs - hc)) * 0.5F};
    atM = {(a + (gc + hs)) * 0.5F, (b + (hc - gs)) * -0.5F};
  }
}

// The middle bin is its own mirror image, in whose form it is left. Its cosine is 0 for both,
// without a sign.
template <Direction kDirection>
inline Complex<float> middleBin(float re, float im) {
  const float cosine = kTwiddleCosine[kMiddle];
  const float sine = kTwiddleSine[kMiddle];
  const float a = re + re;
  const float b = im - im;
  const float g = kDirection == kInverse ? -(im + im) : im + im;
  const float h = kDirection == kInverse ? -(re - re) : re - re;
  if constexpr (kDirection == kInverse) {
    return {(a + (g * cosine - h * sine)) * 0.5F, (b + (h * cosine + g * sine)) * -0.5F};
  }
  return {(a + (g * cosine + h * sine)) * 0.5F, ((g * sine - h * cosine) - b) * 0.5F};
}

template <class V, Direction kDirection>
inline void splitBins(const HalfSpectrum& in, HalfSpectrum& out) {
  const float scale = kDirection == kInverse ? 0.5F : 1.0F;
  out.re[0] = (in.re[0] + in.im[0]) * scale;
  out.im[0] = (in.re[0] - in.im[0]) * scale;
  for (int k = 1; k <= kMiddle; k += kWidth<V>) {
    const int mirror = kFloatBins + 1 - kWidth<V> - k;
    const Complex<V> m = loadAligned<V>(in, mirror);
    Complex<V> atK;
    Complex<V> atM;
    splitBin<kDirection>({load<V>(in.re + k), load<V>(in.im + k)}, {reversed(m.re), reversed(m.im)},
                         {load<V>(kTwiddleCosine + k), load<V>(kTwiddleSine + k)}, atK, atM);
    store(out, k, atK);
    store(out, mirror, Complex<V>{reversed(atM.re), reversed(atM.im)});
  }
  const Complex<float> middle = middleBin<kDirection>(in.re[kMiddle], in.im[kMiddle]);
  out.re[kMiddle] = middle.re;
  out.im[kMiddle] = middle.im;
}

template <class V>
inline void inverseOf(const HalfSpectrum& spectrum, HalfSpectrum& samples) {
  HalfSpectrum pairs;
  splitBins<V, kInverse>(spectrum, pairs);
  complexTransform<V, kInverse>(pairs, samples);
}

// Of a block that is kFirstHalvings of the definition's, which it overwrites.
template <class V>
inline void spectrumOf(HalfSpectrum& block, HalfSpectrum& spectrum) {
  HalfSpectrum pairs;
  complexTransform<V, kForward>(block, pairs);
  splitBins<V, kForward>(pairs, spectrum);
}

}  // namespace arvessa::kernels
