#include "beamformer/float_fft_128.h"

#include "beamformer/float_fft_tables.h"
#include "beamformer/software_float.h"

namespace arvessa {
namespace {

constexpr int kQuarter = kFloatPairs / 4;
constexpr int kMiddle = kFloatPairs / 2;

// n butterflies of neighbouring elements, each with its own twiddle.
template <bool kInverse>
inline void butterflies(float* __restrict upperRe, float* __restrict upperIm,
                        float* __restrict lowerRe, float* __restrict lowerIm, const float* cosine,
                        const float* sine, int n) {
  for (int i = 0; i < n; ++i) {
    const float xRe = lowerRe[i];
    const float xIm = lowerIm[i];
    const float yRe = upperRe[i];
    const float yIm = upperIm[i];
    const auto [tr, ti] = rotated<kInverse>(xRe, xIm, cosine[i], sine[i]);
    if constexpr (kInverse) {
      lowerRe[i] = yRe - tr;
      lowerIm[i] = yIm - ti;
      upperRe[i] = yRe + tr;
      upperIm[i] = yIm + ti;
    } else {
      lowerRe[i] = half(yRe - tr);
      lowerIm[i] = half(yIm - ti);
      upperRe[i] = half(tr + yRe);
      upperIm[i] = half(ti + yIm);
    }
  }
}

// A quarter of the block against another, all with the twiddle of one angle.
template <bool kInverse>
inline void quarters(ComplexBlock& block, int upper, int lower, int angle) {
  float cosine[kQuarter];
  float sine[kQuarter];
  for (int i = 0; i < kQuarter; ++i) {
    cosine[i] = kTwiddleCosine[angle];
    sine[i] = kTwiddleSine[angle];
  }
  butterflies<kInverse>(block.re + upper * kQuarter, block.im + upper * kQuarter,
                        block.re + lower * kQuarter, block.im + lower * kQuarter, cosine, sine,
                        kQuarter);
}

// In bit-reversed order, place 4 a + b holds the element 16 rev(b) + rev(a): the first two stages,
// which combine b = 0..3 for every a, combine whole quarters of the block in natural order. Only
// then is it put in bit-reversed order.
template <bool kInverse>
void transform(ComplexBlock& block) {
  constexpr int kReversed[kQuarter] = {0, 8, 4, 12, 2, 10, 6, 14, 1, 9, 5, 13, 3, 11, 7, 15};
  quarters<kInverse>(block, 0, 2, 0);
  quarters<kInverse>(block, 1, 3, 0);
  quarters<kInverse>(block, 0, 1, 0);
  quarters<kInverse>(block, 2, 3, 32);
  ComplexBlock ordered;
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
  for (int span = 4; span < kFloatPairs; span *= 2) {
    for (int group = 0; group < kFloatPairs; group += 2 * span) {
      butterflies<kInverse>(ordered.re + group, ordered.im + group, ordered.re + group + span,
                            ordered.im + group + span, cosine, sine, span);
    }
    cosine += span;
    sine += span;
  }
  block = ordered;
}

// Bin k and its mirror image m, from the pairs' spectrum z. The twiddles are mirror images, too: the
// cosine of m is minus that of k, the sine the same.
inline void unpackBin(const ComplexBlock& z, int k, int m, ComplexFloat& atK, ComplexFloat& atM) {
  const float a = z.re[k] + z.re[m];
  const float b = z.im[k] - z.im[m];
  const float g = z.im[k] + z.im[m];
  const float h = z.re[m] - z.re[k];
  const float gc = g * kTwiddleCosine[k];
  const float hs = h * kTwiddleSine[k];
  const float turned = h * kTwiddleCosine[k] + g * kTwiddleSine[k];
  atK.re = half(a + (gc - hs));
  atK.im = half(b + turned);
  atM.re = half(a + (hs - gc));
  atM.im = half(turned - b);
}

inline void packBin(const ComplexBlock& p, int k, int m, ComplexFloat& atK, ComplexFloat& atM) {
  const float a = p.re[k] + p.re[m];
  const float b = p.im[k] - p.im[m];
  const float g = -(p.im[k] + p.im[m]);
  const float h = -(p.re[m] - p.re[k]);
  const float gc = g * kTwiddleCosine[k];
  const float hs = h * kTwiddleSine[k];
  const float hc = h * kTwiddleCosine[k];
  const float gs = g * kTwiddleSine[k];
  atK.re = half(a + (gc + hs));
  atK.im = half(b + (hc - gs));
  atM.re = half(a + (-gc - hs));
  atM.im = -half(b + (gs - hc));
}

// The middle bin is its own mirror image, in whose form it is left. Its cosine is 0 for both, without
// a sign.
template <bool kInverse>
inline ComplexFloat middleBin(float re, float im) {
  const float cosine = kTwiddleCosine[kMiddle];
  const float sine = kTwiddleSine[kMiddle];
  const float a = re + re;
  const float b = im - im;
  const float g = kInverse ? -(im + im) : im + im;
  const float h = kInverse ? -(re - re) : re - re;
  if constexpr (kInverse) {
    return {half(a + (g * cosine - h * sine)), -half(b + (h * cosine + g * sine))};
  }
  return {half(a + (g * cosine + h * sine)), half((g * sine - h * cosine) - b)};
}

template <bool kInverse>
inline void allBins(const ComplexBlock& in, ComplexBlock& out) {
  // The mirror images in rising order, so that the loop writes neighbouring floats only.
  float mirrorRe[kMiddle];
  float mirrorIm[kMiddle];
  for (int k = 1; k < kMiddle; ++k) {
    ComplexFloat atK;
    ComplexFloat atM;
    if constexpr (kInverse) {
      packBin(in, k, kFloatPairs - k, atK, atM);
    } else {
      unpackBin(in, k, kFloatPairs - k, atK, atM);
    }
    out.re[k] = atK.re;
    out.im[k] = atK.im;
    mirrorRe[k] = atM.re;
    mirrorIm[k] = atM.im;
  }
  for (int k = 1; k < kMiddle; ++k) {
    out.re[kFloatPairs - k] = mirrorRe[k];
    out.im[kFloatPairs - k] = mirrorIm[k];
  }
  const ComplexFloat middle = middleBin<kInverse>(in.re[kMiddle], in.im[kMiddle]);
  out.re[kMiddle] = middle.re;
  out.im[kMiddle] = middle.im;
}

}  // namespace

void forwardComplex64(ComplexBlock& block) { transform<false>(block); }
void inverseComplex64(ComplexBlock& block) { transform<true>(block); }

void unpackPairs64(const ComplexBlock& pairs, ComplexBlock& spectrum) {
  spectrum.re[0] = pairs.re[0] + pairs.im[0];
  spectrum.im[0] = pairs.re[0] - pairs.im[0];
  allBins<false>(pairs, spectrum);
}

void packPairs64(const ComplexBlock& spectrum, ComplexBlock& pairs) {
  pairs.re[0] = half(spectrum.re[0] + spectrum.im[0]);
  pairs.im[0] = half(spectrum.re[0] - spectrum.im[0]);
  allBins<true>(spectrum, pairs);
}

}  // namespace arvessa
