// SPDX-License-Identifier: Apache-2.0
// The 48 kHz band split: two order-10 recursive filters at the full rate, decimation by three for
// the low band, and zero insertion with the same low-pass on the way back.
#include <algorithm>

#include "reference/engine.h"
#include "reference/tables.h"

namespace reference {
namespace {

struct Filter {
  const Word32* B;
  const Word32* A;
  Word16* X;
  Word32* Y;
  Word16 outputShift;  // brings the output to 13 extra fraction bits
};

Word32 filterStep(const Filter& f, Word16 x) {
  Word32 acc = VORN_Mpy_32_16(f.B[0], x);
  Word32 fb = 0;
  for (int i = 1; i <= 10; ++i) {
    acc = VORN_L_add(acc, VORN_Mpy_32_16(f.B[i], f.X[i - 1]));
    fb = VORN_L_sub(fb, VORN_L_mpy_ll(f.A[i], f.Y[i - 1]));
  }
  const Word32 v = VORN_L_add(VORN_L_shr(acc, 3), fb);
  std::copy_backward(f.X, f.X + 9, f.X + 10);
  std::copy_backward(f.Y, f.Y + 9, f.Y + 10);
  f.X[0] = x;
  f.Y[0] = VORN_L_shl(v, f.outputShift);
  return v;
}

}  // namespace

void AEC_Split_Ne(const Word16* in, Word16* low, Word16* high, Word16 len, Word16* splitLpfX,
                  Word32* splitLpfY, Word16* splitHpfX, Word32* splitHpfY) {
  const Filter lowPass = {AEC_CONST_LPF_B, AEC_CONST_LPF_A, splitLpfX, splitLpfY, 5};
  const Filter highPass = {AEC_CONST_HPF_B, AEC_CONST_HPF_A, splitHpfX, splitHpfY, 8};
  for (int n = 0; n < 3 * len; ++n) {
    const Word32 v = filterStep(lowPass, in[n]);
    if (n % 3 == 0) low[n / 3] = VORN_round(VORN_L_shl(v, 8));
  }
  for (int n = 0; n < 3 * len; ++n) {
    high[n] = VORN_round(VORN_L_shl(filterStep(highPass, in[n]), 11));
  }
}

void AEC_Syn_Ne(const Word16* low, const Word16* high, Word16* out, Word16 len, Word16* synLpfX,
                Word32* synLpfY) {
  const Filter lowPass = {AEC_CONST_LPF_B, AEC_CONST_LPF_A, synLpfX, synLpfY, 5};
  Word16 u[480] = {};
  for (int i = 0; i < len; ++i) u[3 * i + 2] = low[i];
  for (int n = 0; n < 3 * len; ++n) {
    const Word32 v = filterStep(lowPass, u[n]);
    const Word32 t = VORN_L_add(v, VORN_L_add(v, v));
    out[n] = VORN_add(high[n], VORN_round(VORN_L_shl(t, 8)));
  }
}

}  // namespace reference
