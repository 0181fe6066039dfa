// SPDX-License-Identifier: Apache-2.0
#pragma once
// What `enhance` and `trace` have in common.

#include <memory>
#include <string>

#include "audio_io/source.h"
#include "front_end/front_end.h"

namespace arvessa::app {

// The recording of both microphones at `path` ("-" for raw samples), at the front end's rate.
std::unique_ptr<Source> openTwoMicrophones(const std::string& path);

}  // namespace arvessa::app
