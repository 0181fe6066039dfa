// SPDX-License-Identifier: Apache-2.0
#pragma once
// The size of an audio file by its own header.

#include <cstdint>

namespace arvessa::app {

// Whether the regular file `fd` of `size` bytes ends before the last of the samples that its header
// tells of. Knows the headers of WAV, AIFF, W64, CAF and AU; false for every other. The position in
// the file stays.
bool endsBeforeItsSamples(int fd, std::int64_t size);

}  // namespace arvessa::app
