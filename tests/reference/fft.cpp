// SPDX-License-Identifier: Apache-2.0
// The engine's fixed-point transform: radix 2 in constant geometry, so that every stage reads
// neighbouring points and writes them half a block apart, then the split of the packed real
// transform. The forward stages halve their outputs, the inverse stages do not.
#include "reference/fft.h"

#include <algorithm>

#include "reference/tables.h"

namespace reference {
namespace {

struct Complex {
  Word32 re, im;
};

Complex at(const Word32* x, int point) { return {x[2 * point], x[2 * point + 1]}; }

void put(Word32* x, int point, Complex value) {
  x[2 * point] = value.re;
  x[2 * point + 1] = value.im;
}

Complex plus(Complex a, Complex b) { return {VORN_L_add(a.re, b.re), VORN_L_add(a.im, b.im)}; }
Complex minus(Complex a, Complex b) { return {VORN_L_sub(a.re, b.re), VORN_L_sub(a.im, b.im)}; }
Complex shifted(Complex a, int n) { return {a.re >> n, a.im >> n}; }

Complex times(Complex b, const Word16* w) {
  return {VORN_L_sub(VORN_Mpy_32_16(b.re, w[0]), VORN_Mpy_32_16(b.im, w[1])),
          VORN_L_add(VORN_Mpy_32_16(b.re, w[1]), VORN_Mpy_32_16(b.im, w[0]))};
}

Complex timesConjugate(Complex b, const Word16* w) {
  return {VORN_L_add(VORN_Mpy_32_16(b.re, w[0]), VORN_Mpy_32_16(b.im, w[1])),
          VORN_L_sub(VORN_Mpy_32_16(b.im, w[0]), VORN_Mpy_32_16(b.re, w[1]))};
}

int pointsOf(int sel) { return 64 << sel; }

const Word16* coefficients(int sel) {
  return sel == 0   ? WVQE_CONST_TABLE_FFT_COEF_8K.data()
         : sel == 1 ? WVQE_CONST_TABLE_FFT_COEF_16K
                    : WVQE_CONST_TABLE_FFT_COEF_32K;
}

const Table16& orderedCoefficients(int sel) {
  return sel == 0   ? WVQE_CONST_TABLE_FFT_COEF_Rearrange_8K
         : sel == 1 ? WVQE_CONST_TABLE_FFT_COEF_Rearrange_16K
                    : WVQE_CONST_TABLE_FFT_COEF_Rearrange_32K;
}

std::uint32_t reversed(std::uint32_t v) {
  const auto byte = [&](int i) { return std::uint32_t{u8BitRTab[(v >> (8 * i)) & 255]}; };
  return byte(0) << 24 | byte(1) << 16 | byte(2) << 8 | byte(3);
}

void firstStage(const Word32* src, Word32* dst, int sel, bool inverse) {
  const int N = pointsOf(sel);
  const int log2N = 6 + sel;
  const Word16 c0 = coefficients(sel)[0];
  std::uint32_t counterA = 0;
  std::uint32_t counterB = std::uint32_t{1} << (31 - log2N);
  for (int k = 0; k < N / 2; ++k) {
    const Complex a = at(src, static_cast<int>(reversed(counterA) / 2));
    const Complex b = at(src, static_cast<int>(reversed(counterB) / 2));
    const Complex t = {VORN_Mpy_32_16(b.re, c0), VORN_Mpy_32_16(b.im, c0)};
    put(dst, k, shifted(plus(a, t), inverse ? 0 : 1));
    put(dst, k + N / 2, shifted(minus(a, t), inverse ? 0 : 1));
    counterA += std::uint32_t{1} << (32 - log2N);
    counterB += std::uint32_t{1} << (32 - log2N);
  }
}

void remainingStages(Word32* in, Word32* out, int sel, bool inverse) {
  const int N = pointsOf(sel);
  const Word16* w = orderedCoefficients(sel).data();
  int counter = 0;
  for (int s = 1; s <= 5 + sel; ++s) {
    const int P = std::max(1, N >> (s + 2));
    for (int i = 0; i < N / 4; ++i) {
      for (int k = 2 * i; k <= 2 * i + 1; ++k) {
        const Word16* pair = w + 2 * (k - 2 * i);
        const Complex a = at(in, 2 * k);
        const Complex b = at(in, 2 * k + 1);
        const Complex t = inverse ? timesConjugate(b, pair) : times(b, pair);
        put(out, k, shifted(plus(a, t), inverse ? 0 : 1));
        put(out, k + N / 2, shifted(minus(a, t), inverse ? 0 : 1));
      }
      if (++counter >= P) {
        counter = 0;
        w += 4;
      }
    }
    std::swap(in, out);
  }
}

void complexTransform(Word32* x, Word16 n, bool inverse) {
  const int sel = n == 128 ? 0 : n == 256 ? 1 : 2;
  Word32 scratch[512] = {};
  firstStage(x, scratch, sel, inverse);
  remainingStages(scratch, x, sel, inverse);
  if (sel == 1) std::copy(scratch, scratch + 256, x);
}

}  // namespace

void VORN_NR_c_fft_rever_ASM(const Word32* src, Word32* dst, int sel) {
  firstStage(src, dst, sel, false);
}
void VORN_NR_c_ifft_rever_ASM(const Word32* src, Word32* dst, int sel) {
  firstStage(src, dst, sel, true);
}
void VORN_NR_c_fft_COP_ASM(Word32* a, Word32* b, int, int, int sel) {
  remainingStages(a, b, sel, false);
}
void VORN_NR_c_ifft_COP_ASM(Word32* a, Word32* b, int, int, int sel) {
  remainingStages(a, b, sel, true);
}
void WVQE_Complex_FFT(Word32* x, Word16 n) { complexTransform(x, n, false); }
void WVQE_Complex_IFFT(Word32* x, Word16 n) { complexTransform(x, n, true); }

void VORN_NR_r_fft_COP_ASM(const Word32* Z, Word32* X, int sel) {
  const int N = pointsOf(sel);
  for (int k = 1; k <= N / 2; ++k) {
    const Word16* w = coefficients(sel) + 2 * k;
    const Word16* m = coefficients(sel) + 2 * (N - k);
    const Complex z = at(Z, k);
    const Complex y = at(Z, N - k);
    const Complex AC = {VORN_L_add(z.re, y.re), VORN_L_sub(z.im, y.im)};
    const Complex DB = {VORN_L_add(z.im, y.im), VORN_L_sub(y.re, z.re)};
    const Complex turned = {
        VORN_L_add(VORN_Mpy_32_16(DB.re, m[0]), VORN_Mpy_32_16(DB.im, m[1])),
        VORN_L_add(VORN_L_negate(VORN_Mpy_32_16(DB.im, m[0])), VORN_Mpy_32_16(DB.re, m[1]))};
    put(X, k, shifted(plus(AC, times(DB, w)), 1));
    put(X, N - k, shifted(plus({AC.re, VORN_L_negate(AC.im)}, turned), 1));
  }
}

void VORN_NR_r_ifft_COP_ASM(const Word32* X, Word32* Z, int sel) {
  const int N = pointsOf(sel);
  for (int k = 1; k <= N / 2; ++k) {
    const Word16* w = coefficients(sel) + 2 * k;
    const Word16* m = coefficients(sel) + 2 * (N - k);
    const Complex x = at(X, k);
    const Complex y = at(X, N - k);
    const Complex AC = {VORN_L_add(x.re, y.re), VORN_L_sub(x.im, y.im)};
    const Complex DB = {VORN_L_negate(VORN_L_add(x.im, y.im)),
                        VORN_L_negate(VORN_L_sub(y.re, x.re))};
    const Complex turned = {
        VORN_L_sub(VORN_Mpy_32_16(DB.re, m[0]), VORN_Mpy_32_16(DB.im, m[1])),
        VORN_L_negate(VORN_L_add(VORN_Mpy_32_16(DB.im, m[0]), VORN_Mpy_32_16(DB.re, m[1])))};
    put(Z, k, shifted(plus(AC, timesConjugate(DB, w)), 1));
    put(Z, N - k, shifted(plus({AC.re, VORN_L_negate(AC.im)}, turned), 1));
  }
}

void WVQE_FFT(Word32* x, Word16 n, Word16, Word16, const Word16*, const Word16*, Word32* out) {
  WVQE_Complex_FFT(x, n);
  put(out, 0, {VORN_L_add(x[0], x[1]), VORN_L_sub(x[0], x[1])});  // DC, Nyquist
  VORN_NR_r_fft_COP_ASM(x, out, n == 128 ? 0 : n == 256 ? 1 : 2);
}

void WVQE_IFFT(Word32* X, Word16 n, Word16, Word16, const Word16*, const Word16*, Word32* out) {
  put(out, 0, shifted({VORN_L_add(X[0], X[1]), VORN_L_sub(X[0], X[1])}, 1));
  VORN_NR_r_ifft_COP_ASM(X, out, n == 256 ? 1 : n == 512 ? 2 : 0);
  WVQE_Complex_IFFT(out, n);
}

}  // namespace reference
