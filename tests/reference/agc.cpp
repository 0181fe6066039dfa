// SPDX-License-Identifier: Apache-2.0
// The gain falls at once when the voice gets louder and rises only after 200 further
// voice-active frames have asked for more.
#include "reference/agc.h"

#include <algorithm>

namespace reference {

Word16 AGC_norm_l(Word32 v) {
  if (v == 0) return 0;
  auto bits = static_cast<std::uint32_t>(v);
  int zeros = 0;
  for (int width = 16; width >= 1; width /= 2) {
    if (bits >> (32 - width) == 0) {
      bits <<= width;
      zeros += width;
    }
  }
  return lowHalf(zeros);
}

void VED_AGC_Process(WvqeState* state, const Word16* x, const Word32* table, Word16 rateCode,
                     Word16* y) {
  if (rateCode < 0 || rateCode > 3) return;
  const int S = rateCode == 0 ? 10 : 10 * rateCode;
  const int B = rateCode == 0 ? 8 : 16;
  const int stepShift = rateCode == 0 ? 1 : 0;
  const bool voice = state->vadFlag != 0;
  const Word16 d = voice ? -50 : 0;

  Word32& fast = state->agcEnvFast;
  Word32& slow = state->agcEnvSlow;
  Word32 m = 0;
  for (int j = 0; j < S; ++j) {
    Word32 peak = 0;
    for (int i = j * B; i < (j + 1) * B; ++i) peak = std::max(peak, VORN_L_mult(x[i], x[i]) >> 1);
    fast = std::max(VORN_L_add(VORN_Mpy_32_16(fast, -1000), fast), peak);
    if (peak > slow) {
      slow = VORN_L_add(VORN_Mpy_32_16(VORN_L_sub(peak, slow), 500), slow);
    } else {
      slow = VORN_L_add(VORN_Mpy_32_16(slow, d), slow);
    }
    m = std::max({m, slow, fast});
  }

  const Word16 h = m == 0 ? Word16{31} : AGC_norm_l(m);
  const Word16 g = state->agcGainIdx;
  bool change = false;
  if (voice && g > h) {
    state->agcUpCount = 0;
    change = true;
  } else if (voice && h > g) {
    state->agcUpCount = static_cast<std::uint16_t>(state->agcUpCount + 1);
    if (state->agcUpCount > 200) {
      state->agcUpCount = 0;
      change = true;
    }
  }

  const std::int64_t cur = table[g];
  const std::int64_t step = std::int64_t{VORN_L_sub(table[change ? h : g], table[g])} << stepShift;
  for (int b = 0; b < B; ++b) {
    const auto gain = static_cast<Word32>((16 * cur + b * step) >> 5);
    for (int i = b * S; i < (b + 1) * S; ++i) y[i] = VORN_saturate(VORN_Mpy_32_16(gain, x[i]));
  }
  if (change) state->agcGainIdx = h;
}

}  // namespace reference
