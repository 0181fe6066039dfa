// SPDX-License-Identifier: Apache-2.0
#pragma once
// "Did you mean ...?"

#include <string>
#include <string_view>
#include <vector>

namespace arvessa::app {

// The choice that is nearest to `word`: at most two letters, and fewer than half of the word's,
// are to be put in, taken out or replaced. Empty if none is that near.
std::string closest(std::string_view word, const std::vector<std::string>& choices);

}  // namespace arvessa::app
