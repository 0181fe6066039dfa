// SPDX-License-Identifier: Apache-2.0
#pragma once
// The size of an audio file by its own account.

#include "audio_io/input_device.h"

namespace arvessa::app {

// Whether a file ends before the last of the samples that its header tells of, or, as Ogg, without
// the mark of its end. Knows the headers of WAV, AIFF, W64, CAF and AU; false for every other. The
// position in the file is then unknown.
bool isCutShort(InputDevice& file);

}  // namespace arvessa::app
