// SPDX-License-Identifier: Apache-2.0
#pragma once
// The option --beams, which takes a file of `arvessa beams`.

#include <string>

#include "beams/beam_file.h"

namespace CLI {
class App;
}

namespace arvessa::app {

void addBeamsOption(CLI::App& command, std::string& path);

// The beams of the file, or the stored ones where `path` is empty. Throws a Failure.
beams::BeamFile readBeams(const std::string& path);

}  // namespace arvessa::app
