// SPDX-License-Identifier: Apache-2.0
#pragma once
// The 128-point float transform with real and imaginary parts apart. A bin and its mirror image
// share their products, since their twiddles differ in the sign of the cosine only.

#include <span>

#include "kernels/float_kernels.h"
#include "kernels/float_transform_tables.h"
#include "kernels/integer_float.h"

namespace arvessa::kernels {

inline constexpr int kQuarter = kFloatBins / 4;
inline constexpr int kMiddle = kFloatBins / 2;

// A twiddle for each of the butterflies of a row.
struct TwiddleRow {
  const float* cosine;
  const float* sine;
};

// n butterflies of neighbouring elements, each with its own twiddle.
template <bool kInverse, bool kSoftware>
inline void butterflies(float* __restrict upperRe, float* __restrict upperIm,
                        float* __restrict lowerRe, float* __restrict lowerIm, const TwiddleRow& row,
                        int n) {
  const float* const cosine = row.cosine;
  const float* const sine = row.sine;
  for (int i = 0; i < n; ++i) {
    const float xRe = lowerRe[i];
    const float xIm = lowerIm[i];
    const float yRe = upperRe[i];
    const float yIm = upperIm[i];
    const auto [tr, ti] = rotated<kInverse, kSoftware>(xRe, xIm, cosine[i], sine[i]);
    if constexpr (kInverse) {
      lowerRe[i] = yRe - tr;
      lowerIm[i] = yIm - ti;
      upperRe[i] = yRe + tr;
      upperIm[i] = yIm + ti;
    } else {
      lowerRe[i] = half<kSoftware>(yRe - tr);
      lowerIm[i] = half<kSoftware>(yIm - ti);
      upperRe[i] = half<kSoftware>(tr + yRe);
      upperIm[i] = half<kSoftware>(ti + yIm);
    }
  }
}

// A quarter of the block against another, all with the twiddle of one angle.
template <bool kInverse, bool kSoftware>
inline void quarters(HalfSpectrum& block, int upper, int lower, int angle) {
  float cosine[kQuarter];
  float sine[kQuarter];
  for (int i = 0; i < kQuarter; ++i) {
    cosine[i] = kTwiddleCosine[angle];
    sine[i] = kTwiddleSine[angle];
  }
  butterflies<kInverse, kSoftware>(block.re + upper * kQuarter, block.im + upper * kQuarter,
                                   block.re + lower * kQuarter, block.im + lower * kQuarter,
                                   {cosine, sine}, kQuarter);
}

// In bit-reversed order, place 4 a + b holds the element 16 rev(b) + rev(a): the first two stages,
// which combine b = 0..3 for every a, combine whole quarters of the block in natural order. Only
// then is it put in bit-reversed order.
template <bool kInverse, bool kSoftware>
void transform(HalfSpectrum& block) {
  constexpr int kReversed[kQuarter] = {0, 8, 4, 12, 2, 10, 6, 14, 1, 9, 5, 13, 3, 11, 7, 15};
  quarters<kInverse, kSoftware>(block, 0, 2, 0);
  quarters<kInverse, kSoftware>(block, 1, 3, 0);
  quarters<kInverse, kSoftware>(block, 0, 1, 0);
  quarters<kInverse, kSoftware>(block, 2, 3, 32);
  HalfSpectrum ordered;
  for (int q = 0; q < kQuarter; ++q) {
    float* re = ordered.re + 4 * kReversed[q];
    float* im = ordered.im + 4 * kReversed[q];
    for (int b = 0; b < 4; ++b) {
      const int quarter = b == 1 ? 2 : b == 2 ? 1 : b;
      re[b] = block.re[quarter * kQuarter + q];
      im[b] = block.im[quarter * kQuarter + q];
    }
  }
  const float* cosine = kStageCosine;
  const float* sine = kStageSine;
  for (int span = 4; span < kFloatBins; span *= 2) {
    for (int group = 0; group < kFloatBins; group += 2 * span) {
      butterflies<kInverse, kSoftware>(ordered.re + group, ordered.im + group,
                                       ordered.re + group + span, ordered.im + group + span,
                                       {cosine, sine}, span);
    }
    cosine += span;
    sine += span;
  }
  block = ordered;
}

// Bin k and its mirror image m, from the pairs' spectrum z. The twiddles are mirror images, too:
// the cosine of m is minus that of k, the sine the same.
template <bool kSoftware>
inline void unpackBin(const HalfSpectrum& z, int k, int m, ComplexFloat& atK, ComplexFloat& atM) {
  const float a = z.re[k] + z.re[m];
  const float b = z.im[k] - z.im[m];
  const float g = z.im[k] + z.im[m];
  const float h = z.re[m] - z.re[k];
  const float gc = g * kTwiddleCosine[k];
  const float hs = h * kTwiddleSine[k];
  const float turned = h * kTwiddleCosine[k] + g * kTwiddleSine[k];
  atK.re = half<kSoftware>(a + (gc - hs));
  atK.im = half<kSoftware>(b + turned);
  atM.re = half<kSoftware>(a + (hs - gc));
  atM.im = half<kSoftware>(turned - b);
}

template <bool kSoftware>
inline void packBin(const HalfSpectrum& p, int k, int m, ComplexFloat& atK, ComplexFloat& atM) {
  const float a = p.re[k] + p.re[m];
  const float b = p.im[k] - p.im[m];
  const float g = -(p.im[k] + p.im[m]);
  const float h = -(p.re[m] - p.re[k]);
  const float gc = g * kTwiddleCosine[k];
  const float hs = h * kTwiddleSine[k];
  const float hc = h * kTwiddleCosine[k];
  const float gs = g * kTwiddleSine[k];
  atK.re = half<kSoftware>(a + (gc + hs));
  atK.im = half<kSoftware>(b + (hc - gs));
  atM.re = half<kSoftware>(a + (-gc - hs));
  atM.im = -half<kSoftware>(b + (gs - hc));
}

// The middle bin is its own mirror image, in whose form it is left. Its cosine is 0 for both,
// without a sign.
template <bool kInverse, bool kSoftware>
inline ComplexFloat middleBin(float re, float im) {
  const float cosine = kTwiddleCosine[kMiddle];
  const float sine = kTwiddleSine[kMiddle];
  const float a = re + re;
  const float b = im - im;
  const float g = kInverse ? -(im + im) : im + im;
  const float h = kInverse ? -(re - re) : re - re;
  if constexpr (kInverse) {
    return {half<kSoftware>(a + (g * cosine - h * sine)),
            -half<kSoftware>(b + (h * cosine + g * sine))};
  }
  return {half<kSoftware>(a + (g * cosine + h * sine)),
          half<kSoftware>((g * sine - h * cosine) - b)};
}

template <bool kInverse, bool kSoftware>
inline void allBins(const HalfSpectrum& in, HalfSpectrum& out) {
  // The mirror images in rising order, so that the loop writes neighbouring floats only.
  float mirrorRe[kMiddle];
  float mirrorIm[kMiddle];
  for (int k = 1; k < kMiddle; ++k) {
    ComplexFloat atK;
    ComplexFloat atM;
    if constexpr (kInverse) {
      packBin<kSoftware>(in, k, kFloatBins - k, atK, atM);
    } else {
      unpackBin<kSoftware>(in, k, kFloatBins - k, atK, atM);
    }
    out.re[k] = atK.re;
    out.im[k] = atK.im;
    mirrorRe[k] = atM.re;
    mirrorIm[k] = atM.im;
  }
  for (int k = 1; k < kMiddle; ++k) {
    out.re[kFloatBins - k] = mirrorRe[k];
    out.im[kFloatBins - k] = mirrorIm[k];
  }
  const ComplexFloat middle = middleBin<kInverse, kSoftware>(in.re[kMiddle], in.im[kMiddle]);
  out.re[kMiddle] = middle.re;
  out.im[kMiddle] = middle.im;
}

template <bool kSoftware>
void splitForward(std::span<const float, kFloatBlock> block, HalfSpectrum& spectrum) {
  HalfSpectrum pairs;
  for (int i = 0; i < kFloatBins; ++i) {
    pairs.re[i] = block[2 * static_cast<std::size_t>(i)];
    pairs.im[i] = block[2 * static_cast<std::size_t>(i) + 1];
  }
  transform<false, kSoftware>(pairs);
  spectrum.re[0] = pairs.re[0] + pairs.im[0];
  spectrum.im[0] = pairs.re[0] - pairs.im[0];
  allBins<false, kSoftware>(pairs, spectrum);
}

template <bool kSoftware>
void splitInverse(const HalfSpectrum& spectrum, HalfSpectrum& samples) {
  samples.re[0] = half<kSoftware>(spectrum.re[0] + spectrum.im[0]);
  samples.im[0] = half<kSoftware>(spectrum.re[0] - spectrum.im[0]);
  allBins<true, kSoftware>(spectrum, samples);
  transform<true, kSoftware>(samples);
}

}  // namespace arvessa::kernels
