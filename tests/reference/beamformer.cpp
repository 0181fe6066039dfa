// SPDX-License-Identifier: Apache-2.0
// Filter-and-sum beamforming in the frequency domain (Capon 1969 for the weights) with a decision
// every 16 frames and a confirmation rule against hasty changes of beam.
#include "reference/beamformer.h"

#include <algorithm>

#include "reference/fft.h"
#include "reference/tables.h"

namespace reference {
namespace {

constexpr int kBlock = 128;

struct Bin {
  float re, im;
};

Bin weigh(const float* X1, const float* X2, int s, int k) {
  const int at = s * 128 + 2 * k;
  const Bin x1 = {X1[2 * k], X1[2 * k + 1]};
  const Bin x2 = {X2[2 * k], X2[2 * k + 1]};
  const float* re = MVDR_CONST_W_UP_OPT_REAL_TABLE + at;
  const float* im = MVDR_CONST_W_UP_OPT_IMAGINARY_TABLE + at;
  const Bin w1 = {re[0], im[0]};
  const Bin w2 = {re[1], im[1]};
  return {((x1.re * w1.re) - (x1.im * w1.im)) + ((x2.re * w2.re) - (x2.im * w2.im)),
          ((x1.re * w1.im) + (w1.re * x1.im)) + ((x2.re * w2.im) + (w2.re * x2.im))};
}

void spectrumOf(const Word16* samples, float* spectrum) {
  float block[kBlock];
  for (int i = 0; i < kBlock; ++i) {
    block[i] = static_cast<float>(samples[i]);
    if (i < 104) block[i] = block[i] * MVDR_CONST_TABLE_fWIN_8k[static_cast<std::size_t>(i)];
  }
  MVDR_FFT(block, kBlock, kBlock / 2, 6, MVDR_CONST_TABLE_FFT_fCOEF_8K.data(),
           MVDR_CONST_TABLE_PHASE_INDEX_8K.data(), spectrum);
}

void decide(ArvessaState& w) {
  Word16 best = 0;
  float v = w.beamEnergy[0];
  if (w.beamEnergy[0] < w.beamEnergy[1]) {
    best = 1;
    v = w.beamEnergy[1];
  }
  if (v < w.beamEnergy[2]) best = 2;
  if (static_cast<Word32>(w.frameCount) <= 63) {
    w.beamSelected = best;
    w.beamConfirm = 1;
  } else {
    if (best == w.beamSelected) {
      if (w.beamConfirm > 1) w.beamConfirm = 1;
    } else if (best == w.beamPending) {
      w.beamConfirm = lowHalf(w.beamConfirm + 1);
      if (w.beamConfirm > 1) {
        w.beamSelected = best;
        w.beamConfirm = 1;
      }
    } else {
      w.beamConfirm = 1;
    }
    w.beamPending = best;
  }
  std::fill(w.beamEnergy, w.beamEnergy + 3, 0.0F);
}

Word16 toSample(float v) {
  if (v > 32767.0F) return 32767;
  if (v < -32767.0F) return -32767;
  return static_cast<Word16>(v);
}

}  // namespace

void MVDR_BeamForming(const Word16* frame, Word16* out, ArvessaState* work) {
  float X1[kBlock], X2[kBlock], Y[kBlock], t[kBlock];
  spectrumOf(frame, X1);
  spectrumOf(frame + kBlock, X2);
  for (int s = 0; s < 3; ++s) {
    float e = 0;
    for (int k = 16; k < 64; ++k) {
      const Bin y = weigh(X1, X2, s, k);
      e = (y.re * y.re + e) + y.im * y.im;
    }
    work->beamEnergy[s] = work->beamEnergy[s] + e;
  }
  if (work->frameCount % 16 == 15) decide(*work);

  for (int k = 0; k < 64; ++k) {
    const Bin y = weigh(X1, X2, work->beamSelected, k);
    Y[2 * k] = y.re;
    Y[2 * k + 1] = y.im;
  }
  MVDR_IFFT(Y, kBlock, kBlock / 2, 6, MVDR_CONST_TABLE_FFT_fCOEF_8K.data(),
            MVDR_CONST_TABLE_PHASE_INDEX_8K.data(), t);
  for (int i = 0; i < 80; ++i) out[i] = toSample(i < 24 ? work->beamOverlap[i] + t[i] : t[i]);
  std::copy(t + 80, t + 104, work->beamOverlap);
}

}  // namespace reference
