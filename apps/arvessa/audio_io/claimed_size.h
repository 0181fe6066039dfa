// SPDX-License-Identifier: Apache-2.0
#pragma once
// The size of an audio file by its own account.

#include <cstdint>

#include "audio_io/input_device.h"

namespace arvessa::app {

// The size that a file has, or that it should have for the samples that its header tells of, if that
// is more. Knows the headers of WAV, AIFF, W64, CAF and AU. The position in the file is then unknown.
std::int64_t claimedSize(InputDevice& file);

// Whether a file is Ogg and ends before the page that is marked as the last one. The position in the
// file is then unknown.
bool isCutOgg(InputDevice& file);

}  // namespace arvessa::app
