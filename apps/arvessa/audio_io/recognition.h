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

// Whether two frames of MPEG audio follow one another at the beginning, or behind tags there. One
// alone is found in every 2000th file of random bytes.
bool beginsWithMpegFrames(InputDevice& device);

}  // namespace arvessa::app
