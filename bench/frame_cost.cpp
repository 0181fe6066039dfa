// SPDX-License-Identifier: Apache-2.0
// frame_cost CASE FRAMES: runs one case of the benchmarks for a number of frames, each of them
// between two marker functions that do nothing, so that a tool which watches the program can tell
// what the frame alone costs. frame_cost --list names the cases. NAME@RECIPE is the whole frame of that
// name with the input of a recipe (hard_signals.h).

#include <cstdlib>
#include <cstring>
#include <exception>
#include <iostream>
#include <optional>
#include <string_view>

#include "cases.h"

extern "C" {

// The empty assembly keeps the calls: functions without effect would be dropped, and one of two
// equal ones.
[[gnu::noinline]] void arvessa_count_begin() { __asm__ volatile("/* begin */" ::: "memory"); }
[[gnu::noinline]] void arvessa_count_end() { __asm__ volatile("/* end */" ::: "memory"); }

// One frame and its markers, for tools that collect while a function is active.
[[gnu::noinline]] void arvessa_count_frame(const void* work, int frame) {
  arvessa_count_begin();
  static_cast<const arvessa::bench::Work*>(work)->run(frame);
  arvessa_count_end();
}

}  // extern "C"

namespace {

using namespace arvessa::bench;

std::optional<Case> findCase(std::string_view name) {
  const std::size_t at = name.find('@');
  if (at != std::string_view::npos) return caseOfRecipe(name.substr(0, at), name.substr(at + 1));
  for (const Case& c : allCases()) {
    if (c.name == name) return c;
  }
  return std::nullopt;
}

int runCase(const char* name, int frames) {
  const std::optional<Case> chosen = findCase(name);
  if (!chosen) {
    std::cerr << "frame_cost: no case " << name << "; frame_cost --list names them\n";
    return EXIT_FAILURE;
  }
  const Work work = chosen->make();
  warmUp(work);
  runBatches(work, kWarmUp, frames, [&](int first, int count) {
    for (int i = 0; i < count; ++i) arvessa_count_frame(&work, first + i);
  });
  return EXIT_SUCCESS;
}

int usage() {
  std::cerr << "usage: frame_cost --list\n       frame_cost CASE FRAMES\n";
  return EXIT_FAILURE;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    if (argc == 2 && std::strcmp(argv[1], "--list") == 0) {
      for (const Case& c : allCases()) std::cout << c.name << '\n';
      return EXIT_SUCCESS;
    }
    if (argc != 3) return usage();
    char* end = nullptr;
    const long frames = std::strtol(argv[2], &end, 10);
    if (*end != '\0' || frames < 1 || frames > 1000000) return usage();
    return runCase(argv[1], static_cast<int>(frames));
  } catch (const std::exception& error) {
    std::cerr << "frame_cost: " << error.what() << '\n';
    return EXIT_FAILURE;
  }
}
