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

void PlainFloat::forwardTransform(std::span<const float, kFloatBlock> block,
                                  HalfSpectrum& spectrum) {
  float pairs[kFloatBlock];
  float packed[kFloatBlock];
  for (int i = 0; i < kFloatBlock; ++i) pairs[i] = block[static_cast<std::size_t>(i)];
  forwardComplex(pairs, transform128());
  unpackPairs(pairs, transform128(), packed);
  for (int k = 0; k < kFloatBins; ++k) {
    spectrum.re[k] = packed[2 * k];
    spectrum.im[k] = packed[2 * k + 1];
  }
}

void PlainFloat::inverseTransform(const HalfSpectrum& spectrum,
                                  std::span<float, kFloatBlock> block) {
  float packed[kFloatBlock];
  for (int k = 0; k < kFloatBins; ++k) {
    packed[2 * k] = spectrum.re[k];
    packed[2 * k + 1] = spectrum.im[k];
  }
  packPairs(packed, transform128(), block.data());
  inverseComplex(block.data(), transform128());
}

}  // namespace arvessa::kernels
