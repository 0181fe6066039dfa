#include "beamformer/float_fft.h"

#include <cfloat>
#include <cstring>

#include "beamformer/float_fft_128.h"
#include "beamformer/float_fft_tables.h"

#ifdef __FAST_MATH__
#error "The order of float operations is part of the result: build without fast-math."
#endif
static_assert(FLT_EVAL_METHOD == 0, "Float operations must round to single precision.");
static_assert(FLT_MANT_DIG == 24 && FLT_MAX_EXP == 128, "Float must be IEEE-754 single precision.");

namespace arvessa {
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
void complexTransform(float* data, int n, int half, int stages, const float* twiddle,
                      const unsigned short* phaseIndex) {
  bitReverse(data, n, half);
  for (int stage = 0; stage < stages; ++stage) {
    const int span = 2 << stage;
    const float* w = twiddle;
    for (int column = 0; column < span && column < n; column += 2, w += 2 * phaseIndex[stage]) {
      for (int u = column; u < n; u += 2 * span) {
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

// The spectrum of n real samples from that of the n/2 pairs of an even and an odd sample.
void unpackPairs(const float* z, int n, int half, const float* twiddle, float* out) {
  out[0] = z[0] + z[1];
  out[1] = z[0] - z[1];
  for (int k = 2; k <= half && half > 1; k += 2) {
    const int m = n - k;
    const float* wk = twiddle + k;
    const float* wm = twiddle + m;
    const float a = z[k] + z[m];
    const float b = z[k + 1] - z[m + 1];
    const float g = z[k + 1] + z[m + 1];
    const float h = z[m] - z[k];
    out[k] = (a + (g * wk[0] - h * wk[1])) * 0.5F;
    out[k + 1] = (b + (h * wk[0] + g * wk[1])) * 0.5F;
    out[m] = (a + (g * wm[0] + h * wm[1])) * 0.5F;
    out[m + 1] = ((g * wm[1] - h * wm[0]) - b) * 0.5F;
  }
}

// And back.
void packPairs(const float* p, int n, int half, const float* twiddle, float* out) {
  out[0] = (p[0] + p[1]) * 0.5F;
  out[1] = (p[0] - p[1]) * 0.5F;
  for (int k = 2; k <= half && half > 1; k += 2) {
    const int m = n - k;
    const float* wk = twiddle + k;
    const float* wm = twiddle + m;
    const float a = p[k] + p[m];
    const float b = p[k + 1] - p[m + 1];
    const float g = -(p[k + 1] + p[m + 1]);
    const float h = -(p[m] - p[k]);
    out[k] = (a + (g * wk[0] + h * wk[1])) * 0.5F;
    out[k + 1] = (b + (h * wk[0] - g * wk[1])) * 0.5F;
    out[m] = (a + (g * wm[0] - h * wm[1])) * 0.5F;
    out[m + 1] = (b + (h * wm[0] + g * wm[1])) * -0.5F;
  }
}

// Whether a call is for the size and the tables that have a form of their own.
bool isFixedSize(int n, int half, int stages, const float* twiddle,
                 const unsigned short* phaseIndex) {
  return n == kFloatFftSize && half == n / 2 && stages == 6 &&
         twiddle == MVDR_CONST_TABLE_FFT_fCOEF_8K && phaseIndex == MVDR_CONST_TABLE_PHASE_INDEX_8K;
}

}  // namespace
}  // namespace arvessa

extern "C" {

void MVDR_Complex_FFT(float* data, int n, int half, int stages, const float* twiddle,
                      const unsigned short* phaseIndex) {
  arvessa::complexTransform<false>(data, n, half, stages, twiddle, phaseIndex);
}

void MVDR_Complex_IFFT(float* data, int n, int half, int stages, const float* twiddle,
                       const unsigned short* phaseIndex) {
  arvessa::complexTransform<true>(data, n, half, stages, twiddle, phaseIndex);
}

void MVDR_FFT(float* data, int n, int half, int stages, const float* twiddle,
              const unsigned short* phaseIndex, float* out) {
  using namespace arvessa;
  if (!isFixedSize(n, half, stages, twiddle, phaseIndex)) {
    complexTransform<false>(data, n, half, stages, twiddle, phaseIndex);
    unpackPairs(data, n, half, twiddle, out);
    return;
  }
  ComplexBlock pairs;
  ComplexBlock spectrum;
  separate(data, pairs);
  forwardComplex64(pairs);
  unpackPairs64(pairs, spectrum);
  interleave(pairs, data);
  interleave(spectrum, out);
}

void MVDR_IFFT(const float* spec, int n, int half, int stages, const float* twiddle,
               const unsigned short* phaseIndex, float* out) {
  using namespace arvessa;
  if (!isFixedSize(n, half, stages, twiddle, phaseIndex)) {
    packPairs(spec, n, half, twiddle, out);
    complexTransform<true>(out, n, half, stages, twiddle, phaseIndex);
    return;
  }
  ComplexBlock spectrum;
  ComplexBlock pairs;
  separate(spec, spectrum);
  packPairs64(spectrum, pairs);
  inverseComplex64(pairs);
  interleave(pairs, out);
}

}  // extern "C"
