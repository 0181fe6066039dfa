// SPDX-License-Identifier: Apache-2.0
#pragma once
// Signals with which single frames cost more than frames of speech, and silence. A server or a
// device must have time for the dearest frame, not for the mean one.
//
// A recipe has two characters for each frame, and begins again at its end:
//   n noise, s a square wave, a alternating samples, d a constant, c clicks, z zeros
//   0..f the level: full scale, halved so many times

#include <span>
#include <string_view>

#include "signal.h"

namespace arvessa::bench {

struct HardSignal {
  const char* name;
  const char* recipe;
};

std::span<const HardSignal> hardSignals();

// By rate code: what a search has found to be dearest (search_frames).
const char* foundRecipe(int rateCode);

// Throws std::invalid_argument if it is no recipe.
FrameStream framesOf(std::string_view recipe, int frameLength);

}  // namespace arvessa::bench
