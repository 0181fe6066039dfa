// SPDX-License-Identifier: Apache-2.0
// The beamformer's 128-point real transform through a 64-point complex radix-2 transform. The order
// of the float operations, parentheses included, is part of the result: build without contraction.
#include <utility>

#include "reference/fft.h"

namespace reference {
namespace {

void bitReverse(float* data, int n, int half) {
  if (n - 2 <= 0) return;
  int j = 0;
  int i = 0;
  for (;;) {
    int k = half;
    if (j >= half) {
      do {
        j -= k;
        k >>= 1;
      } while (j >= k);
    }
    i += 2;
    if (i >= n - 2) return;
    j += k;
    if (j > i) {
      std::swap(data[i], data[j]);
      std::swap(data[i + 1], data[j + 1]);
    }
  }
}

void forwardButterfly(float* y, float* x, float wr, float wi) {
  const float tr = (x[0] * wr) - (x[1] * wi);
  const float ti = (wr * x[1]) + (x[0] * wi);
  x[0] = (y[0] - tr) * 0.5F;
  x[1] = (y[1] - ti) * 0.5F;
  y[0] = (tr + y[0]) * 0.5F;
  y[1] = (ti + y[1]) * 0.5F;
}

void inverseButterfly(float* y, float* x, float wr, float wi) {
  const float tr = (x[0] * wr) + (x[1] * wi);
  const float ti = (wr * x[1]) - (x[0] * wi);
  x[0] = y[0] - tr;
  x[1] = y[1] - ti;
  y[0] = y[0] + tr;
  y[1] = y[1] + ti;
}

void transform(float* data, int n, int half, int stages, const float* twiddle,
               const std::uint16_t* phaseIndex, void (*butterfly)(float*, float*, float, float)) {
  bitReverse(data, n, half);
  for (int s = 0; s < stages; ++s) {
    const int le = 2 << s;
    int p = 0;
    for (int j = 0; j < le && j < n; j += 2) {
      for (int g = 0; g + j < n; g += 2 * le) {
        butterfly(data + g + j, data + g + j + le, twiddle[p], twiddle[p + 1]);
      }
      p += 2 * phaseIndex[s];
    }
  }
}

}  // namespace

void MVDR_Complex_FFT(float* data, int n, int half, int stages, const float* twiddle,
                      const std::uint16_t* phaseIndex) {
  transform(data, n, half, stages, twiddle, phaseIndex, forwardButterfly);
}

void MVDR_Complex_IFFT(float* data, int n, int half, int stages, const float* twiddle,
                       const std::uint16_t* phaseIndex) {
  transform(data, n, half, stages, twiddle, phaseIndex, inverseButterfly);
}

void MVDR_FFT(float* data, int n, int half, int stages, const float* twiddle,
              const std::uint16_t* phaseIndex, float* out) {
  MVDR_Complex_FFT(data, n, half, stages, twiddle, phaseIndex);
  out[0] = data[0] + data[1];
  out[1] = data[0] - data[1];
  for (int k = 2; half > 1 && k <= half; k += 2) {
    const int m = n - k;
    const float A = data[k] + data[m];
    const float B = data[k + 1] - data[m + 1];
    const float G = data[k + 1] + data[m + 1];
    const float H = data[m] - data[k];
    const float* w = twiddle + k;
    const float* v = twiddle + m;
    out[k] = (A + (G * w[0] - H * w[1])) * 0.5F;
    out[k + 1] = (B + (H * w[0] + G * w[1])) * 0.5F;
    out[m] = (A + (G * v[0] + H * v[1])) * 0.5F;
    out[m + 1] = ((G * v[1] - H * v[0]) - B) * 0.5F;
  }
}

void MVDR_IFFT(const float* spectrum, int n, int half, int stages, const float* twiddle,
               const std::uint16_t* phaseIndex, float* out) {
  out[0] = (spectrum[0] + spectrum[1]) * 0.5F;
  out[1] = (spectrum[0] - spectrum[1]) * 0.5F;
  for (int k = 2; half > 1 && k <= half; k += 2) {
    const int m = n - k;
    const float A = spectrum[k] + spectrum[m];
    const float B = spectrum[k + 1] - spectrum[m + 1];
    const float G = -(spectrum[k + 1] + spectrum[m + 1]);
    const float H = -(spectrum[m] - spectrum[k]);
    const float* w = twiddle + k;
    const float* v = twiddle + m;
    out[k] = (A + (G * w[0] + H * w[1])) * 0.5F;
    out[k + 1] = (B + (H * w[0] - G * w[1])) * 0.5F;
    out[m] = (A + (G * v[0] - H * v[1])) * 0.5F;
    out[m + 1] = (B + (H * v[0] + G * v[1])) * -0.5F;
  }
  MVDR_Complex_IFFT(out, n, half, stages, twiddle, phaseIndex);
}

}  // namespace reference
