// SPDX-License-Identifier: Apache-2.0
#pragma once
// Signals at 8 kHz with which single frames of the engine cost more than frames of speech, and
// silence. A server or a device must have time for the dearest frame, not for the mean one.

#include <span>

#include "signal.h"

namespace arvessa::bench {

struct HardSignal {
  const char* name;
  Word16 (*sample)(int index, Word16 noise);  // noise: any 16 bits
};

std::span<const HardSignal> hardSignals();

FrameStream framesOf(const HardSignal& signal);

}  // namespace arvessa::bench
