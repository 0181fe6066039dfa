// SPDX-License-Identifier: Apache-2.0
#pragma once
// Beams as a file: the geometry as comment lines, then a line for each weight with the header
// beam,bin,microphone,re,im and five significant digits. The library's table has the same digits.

#include <array>
#include <string>

#include "beams/beam_design.h"

namespace arvessa::beams {

// The table as the library takes it: beam s, bin k, microphone m at s * 128 + 2 k + m.
struct BeamTable {
  static constexpr std::size_t kValues = std::size_t{kBeams} * kBins * 2;
  std::array<float, kValues> re;
  std::array<float, kValues> im;
};

struct BeamFile {
  Geometry geometry;
  BeamTable table;
};

std::string beamFileText(const Geometry& geometry, const Weights& weights);

// Reads what beamFileText writes. Throws std::invalid_argument with the reason and its line.
BeamFile parseBeamFile(const std::string& text);

}  // namespace arvessa::beams
