// SPDX-License-Identifier: Apache-2.0
// Writes the designed beams to a file or to the standard output.

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

#include "beams/table_source.h"

namespace {

constexpr std::string_view kUsage =
    "usage: beam_design source|weights|patterns|figures [FILE]\n"
    "  source    the library's table, src/beamformer/beam_weights_tables.cpp\n"
    "  weights   the same numbers as CSV\n"
    "  patterns  gain over azimuth at 500, 1000, 2000 and 3500 Hz as CSV\n"
    "  figures   white noise gain and directivity of every bin as CSV\n"
    "Without FILE the text goes to the standard output.\n";

bool write(std::ostream& out, std::string_view text) {
  out.write(text.data(), static_cast<std::streamsize>(text.size()));
  out.flush();
  return out.good();
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  const std::string what = arguments.empty() ? "" : arguments[0];
  std::string text;
  if (what == "source") {
    text = arvessa::design::tableSource();
  } else if (what == "weights") {
    text = arvessa::design::weightsCsv();
  } else if (what == "patterns") {
    text = arvessa::design::patternsCsv();
  } else if (what == "figures") {
    text = arvessa::design::figuresCsv();
  }
  if (text.empty() || arguments.size() > 2) {
    std::cerr << kUsage;
    return EXIT_FAILURE;
  }
  if (arguments.size() == 1) {
    return write(std::cout, text) ? EXIT_SUCCESS : EXIT_FAILURE;
  }
  std::ofstream file(arguments[1], std::ios::binary);
  if (!write(file, text)) {
    std::cerr << "beam_design: cannot write " << arguments[1] << '\n';
    return EXIT_FAILURE;
  }
  return EXIT_SUCCESS;
}
