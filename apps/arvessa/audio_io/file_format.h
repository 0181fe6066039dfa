// SPDX-License-Identifier: Apache-2.0
#pragma once
// The formats of audio files that can be written, by the extension of the name.

#include <string>

namespace arvessa::app {

// libsndfile's format with 16-bit samples for the extension of `path`; 0 if there is none.
int formatOf(const std::string& path);

// Whether the format counts its bytes in 32 bits.
bool hasShortSizes(int format);

// Whether files of this format can be written to a pipe, without going back.
bool canBePiped(int format);

// Throws a UsageError unless `path` has the extension of a format, or `format` is given; if `path`
// is "-", unless `format` is 0 or can be written to a pipe.
void checkWritableFormat(const std::string& path, int format = 0);

}  // namespace arvessa::app
