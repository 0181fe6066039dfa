// SPDX-License-Identifier: Apache-2.0
#pragma once
// 16-bit samples and their values, full scale +-1.

#include <algorithm>
#include <cmath>

#include "ArvessaTypes.h"

namespace arvessa::app {

// Rounds to nearest and clips.
inline Word16 toPcm(float sample) {
  return static_cast<Word16>(std::lrint(std::clamp(sample * 32768.0F, -32768.0F, 32767.0F)));
}
inline float fromPcm(Word16 sample) { return static_cast<float>(sample) / 32768.0F; }
inline bool isClipped(float sample) { return sample < -1.0F || sample > 32767.5F / 32768.0F; }

}  // namespace arvessa::app
