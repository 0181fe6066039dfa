// SPDX-License-Identifier: Apache-2.0
#include "commands/beams_option.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

#include "audio_io/errors.h"
#include "front_end/front_end.h"

namespace arvessa::app {

static_assert(beams::kBeams == kBeams && 2 * beams::kBins == kBeamBlock);

void addBeamsOption(CLI::App& command, std::string& path) {
  command.add_option("--beams", path, "microphones and beams of a file of `arvessa beams`");
}

beams::BeamFile readBeams(const std::string& path) {
  if (path.empty()) {
    beams::BeamFile stored{beams::storedGeometry(), {}};
    std::copy_n(storedBeams().re, beams::BeamTable::kValues, stored.table.re.begin());
    std::copy_n(storedBeams().im, beams::BeamTable::kValues, stored.table.im.begin());
    return stored;
  }
  constexpr std::size_t kMostBytes = 1 << 20;
  errno = 0;
  std::ifstream file(path, std::ios::binary);
  std::string text;
  char c = 0;
  while (text.size() < kMostBytes && file.get(c)) text.push_back(c);
  if (file.bad() || !file.is_open() || (text.empty() && errno != 0)) {
    throw Failure(path, std::generic_category().message(errno));
  }
  try {
    return beams::parseBeamFile(text);
  } catch (const std::invalid_argument& error) {
    throw Failure(path, std::string("is not a file of beams: ") + error.what());
  }
}

}  // namespace arvessa::app
