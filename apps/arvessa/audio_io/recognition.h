// SPDX-License-Identifier: Apache-2.0
#pragma once
// What an input is, by what it begins with.

#include "audio_io/input_device.h"

namespace arvessa::app {

enum class Beginning {
  kAudioFile,  // of some format
  kMpeg,       // audio of MPEG, or a tag as it stands before that
  kUnknown
};

// The position in the input is then unknown.
Beginning recognise(InputDevice& device);

// How many frames of MPEG audio seem to begin after the tags at the beginning: 0, 1, or 2, which is
// as far as this looks. Decoders take the mark of one for enough; so begins every 2000th file of
// random bytes.
int mpegFrames(InputDevice& device);

}  // namespace arvessa::app
