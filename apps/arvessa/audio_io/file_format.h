// SPDX-License-Identifier: Apache-2.0
#pragma once
// The formats of audio files that can be written, by the extension of the name.

#include <string>

namespace arvessa::app {

// libsndfile's format with 16-bit samples for the extension of `path`; 0 if there is none.
int formatOf(const std::string& path);

// Whether the format counts its bytes in 32 bits.
bool hasShortSizes(int format);

// Throws a UsageError unless `path` is "-" or has an extension of a format.
void checkWritableFormat(const std::string& path);

}  // namespace arvessa::app
