// SPDX-License-Identifier: Apache-2.0
#pragma once
// Some channels of a recording that has more.

#include <memory>
#include <vector>

#include "audio_io/source.h"

namespace arvessa::app {

// The channels of `inner` with these numbers, which count from 1, in this order. Throws a Failure
// if `inner` does not have one of them.
std::unique_ptr<Source> selectChannels(std::unique_ptr<Source> inner, std::vector<int> channels);

}  // namespace arvessa::app
