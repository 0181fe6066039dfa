// SPDX-License-Identifier: Apache-2.0
#pragma once
// Standard error for what this program itself says. Some decoders talk there too.

namespace arvessa::app {

// From now on std::cerr has its own way to standard error. Call before any thread starts.
void keepMessagesApart();

// From now on what anybody writes to standard error but by std::cerr goes nowhere.
void silenceLibraries();

// Where std::cerr writes to.
int messageDescriptor();

}  // namespace arvessa::app
