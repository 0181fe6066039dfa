// SPDX-License-Identifier: Apache-2.0
// The definitions of the float kernels.

#include <cfloat>

#include "kernels/float_kernels.h"
#include "kernels/float_transform_tables.h"

#ifdef __FAST_MATH__
#error "The order of float operations is part of the result: build without fast-math."
#endif
static_assert(FLT_EVAL_METHOD == 0, "Float operations must round to single precision.");
static_assert(FLT_MANT_DIG == 24 && FLT_MAX_EXP == 128, "Float must be IEEE-754 single precision.");

namespace arvessa::kernels {
namespace {

void bitReverse(float* data, int n, int half) {
  int j = 0;
  for (int i = 2; i < n - 2; i += 2) {
    int k = half;
    while (k > 1 && j >= k) {
      j -= k;
      k >>= 1;
    }
    j += k;
    if (j > i) {
      const float re = data[i];
      const float im = data[i + 1];
      data[i] = data[j];
      data[i + 1] = data[j + 1];
      data[j] = re;
      data[j + 1] = im;
    }
  }
}

template <bool kInverse>
void complexTransform(float* data, const FloatTransform& t) {
  bitReverse(data, t.n, t.half);
  for (int stage = 0; stage < t.stages; ++stage) {
    const int span = 2 << stage;
    const float* w = t.twiddle;
    for (int column = 0; column < span && column < t.n; column += 2, w += 2 * t.phaseIndex[stage]) {
      for (int u = column; u < t.n; u += 2 * span) {
        float* upper = data + u;
        float* lower = upper + span;
        const float re = upper[0];
        const float im = upper[1];
        if constexpr (kInverse) {
          const float tr = (lower[0] * w[0]) + (lower[1] * w[1]);
          const float ti = (w[0] * lower[1]) - (lower[0] * w[1]);
          lower[0] = re - tr;
          lower[1] = im - ti;
          upper[0] = re + tr;
          upper[1] = im + ti;
        } else {
          const float tr = (lower[0] * w[0]) - (lower[1] * w[1]);
          const float ti = (w[0] * lower[1]) + (lower[0] * w[1]);
          lower[0] = (re - tr) * 0.5F;
          lower[1] = (im - ti) * 0.5F;
          upper[0] = (tr + re) * 0.5F;
          upper[1] = (ti + im) * 0.5F;
        }
      }
    }
  }
}

// Field by field: GCC keeps braces full of addresses as relocated constants in writable data.
FloatTransform transform128() {
  FloatTransform t;
  t.n = kFloatBlock;
  t.half = kFloatBlock / 2;
  t.stages = 6;
  t.twiddle = MVDR_CONST_TABLE_FFT_fCOEF_8K;
  t.phaseIndex = MVDR_CONST_TABLE_PHASE_INDEX_8K;
  return t;
}

}  // namespace

void forwardComplex(float* data, const FloatTransform& t) { complexTransform<false>(data, t); }
void inverseComplex(float* data, const FloatTransform& t) { complexTransform<true>(data, t); }

void unpackPairs(const float* pairs, const FloatTransform& t, float* spectrum) {
  spectrum[0] = pairs[0] + pairs[1];
  spectrum[1] = pairs[0] - pairs[1];
  for (int k = 2; k <= t.half; k += 2) {
    const int m = t.n - k;
    const float* wk = t.twiddle + k;
    const float* wm = t.twiddle + m;
    const float a = pairs[k] + pairs[m];
    const float b = pairs[k + 1] - pairs[m + 1];
    const float g = pairs[k + 1] + pairs[m + 1];
    const float h = pairs[m] - pairs[k];
    spectrum[k] = (a + (g * wk[0] - h * wk[1])) * 0.5F;
    spectrum[k + 1] = (b + (h * wk[0] + g * wk[1])) * 0.5F;
    spectrum[m] = (a + (g * wm[0] + h * wm[1])) * 0.5F;
    spectrum[m + 1] = ((g * wm[1] - h * wm[0]) - b) * 0.5F;
  }
}

void packPairs(const float* spectrum, const FloatTransform& t, float* pairs) {
  pairs[0] = (spectrum[0] + spectrum[1]) * 0.5F;
  pairs[1] = (spectrum[0] - spectrum[1]) * 0.5F;
  for (int k = 2; k <= t.half; k += 2) {
    const int m = t.n - k;
    const float* wk = t.twiddle + k;
    const float* wm = t.twiddle + m;
    const float a = spectrum[k] + spectrum[m];
    const float b = spectrum[k + 1] - spectrum[m + 1];
    const float g = -(spectrum[k + 1] + spectrum[m + 1]);
    const float h = -(spectrum[m] - spectrum[k]);
    pairs[k] = (a + (g * wk[0] + h * wk[1])) * 0.5F;
    pairs[k + 1] = (b + (h * wk[0] - g * wk[1])) * 0.5F;
    pairs[m] = (a + (g * wm[0] - h * wm[1])) * 0.5F;
    pairs[m + 1] = (b + (h * wm[0] + g * wm[1])) * -0.5F;
  }
}

void windowed(std::span<const Word16, kFloatBlock> samples, std::span<const float, kWindow> window,
              float (&block)[kFloatBlock]) {
  for (std::size_t i = 0; i < kFloatBlock; ++i) block[i] = static_cast<float>(samples[i]);
  for (std::size_t i = 0; i < kFlank; ++i) {
    block[i] *= window[i];
    block[kFloatFrame + i] *= window[kFloatFrame + i];
  }
}

void PlainFloat::analyse(std::span<const Word16, kFloatBlock> samples,
                         std::span<const float, kWindow> window, HalfSpectrum& spectrum) {
  float pairs[kFloatBlock];
  float packed[kFloatBlock];
  windowed(samples, window, pairs);
  forwardComplex(pairs, transform128());
  unpackPairs(pairs, transform128(), packed);
  for (int k = 0; k < kFloatBins; ++k) {
    spectrum.re[k] = packed[2 * k];
    spectrum.im[k] = packed[2 * k + 1];
  }
}

void PlainFloat::formBeam(const BeamWeights& weights, int beam, int begin, int end,
                          const HalfSpectrum (&x)[2], HalfSpectrum& y) {
  const float* wRe = weights.re + beam * kFloatBlock;
  const float* wIm = weights.im + beam * kFloatBlock;
  const auto& [x1, x2] = x;
  for (int k = begin; k < end; ++k) {
    const float w1Re = wRe[2 * k];
    const float w1Im = wIm[2 * k];
    const float w2Re = wRe[2 * k + 1];
    const float w2Im = wIm[2 * k + 1];
    y.re[k] = ((x1.re[k] * w1Re) - (x1.im[k] * w1Im)) + ((x2.re[k] * w2Re) - (x2.im[k] * w2Im));
    y.im[k] = ((x1.re[k] * w1Im) + (w1Re * x1.im[k])) + ((x2.re[k] * w2Im) + (w2Re * x2.im[k]));
  }
}

void PlainFloat::formBeams(const BeamWeights& weights, bool /*outerConjugate*/,
                           const HalfSpectrum (&x)[2], HalfSpectrum (&y)[kFormedBeams],
                           float (&energies)[kFormedBeams]) {
  for (int beam = 0; beam < kFormedBeams; ++beam) {
    const HalfSpectrum& output = y[beam];
    formBeam(weights, beam, kFirstEnergyBin, kFloatBins, x, y[beam]);
    float sum = 0.0F;
    for (int k = kFirstEnergyBin; k < kFloatBins; ++k) {
      sum = (output.re[k] * output.re[k] + sum) + output.im[k] * output.im[k];
    }
    energies[beam] += sum;
  }
}

void PlainFloat::inverseTransform(const HalfSpectrum& spectrum, HalfSpectrum& samples) {
  float packed[kFloatBlock];
  float block[kFloatBlock];
  for (int k = 0; k < kFloatBins; ++k) {
    packed[2 * k] = spectrum.re[k];
    packed[2 * k + 1] = spectrum.im[k];
  }
  packPairs(packed, transform128(), block);
  inverseComplex(block, transform128());
  for (int i = 0; i < kFloatBins; ++i) {
    samples.re[i] = block[2 * i];
    samples.im[i] = block[2 * i + 1];
  }
}

void PlainFloat::overlapAdd(const HalfSpectrum& samples, std::span<float, kFlank> overlap,
                            std::span<Word16, kFloatFrame> out) {
  for (std::size_t i = 0; i < kFloatFrame; ++i) {
    const float sample = i % 2 == 0 ? samples.re[i / 2] : samples.im[i / 2];
    out[i] = toSample(i < kFlank ? overlap[i] + sample : sample);
  }
  for (std::size_t i = 0; i < kFlank; i += 2) {
    overlap[i] = samples.re[(kFloatFrame + i) / 2];
    overlap[i + 1] = samples.im[(kFloatFrame + i) / 2];
  }
}

}  // namespace arvessa::kernels
