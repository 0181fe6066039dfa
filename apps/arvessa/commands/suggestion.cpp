// SPDX-License-Identifier: Apache-2.0
#include "commands/suggestion.h"

#include <algorithm>
#include <numeric>
#include <vector>

namespace arvessa::app {
namespace {

// Levenshtein's distance, row by row.
std::size_t changes(std::string_view from, std::string_view to) {
  std::vector<std::size_t> row(to.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < from.size(); ++i) {
    std::size_t diagonal = row[0]++;
    for (std::size_t j = 0; j < to.size(); ++j) {
      const std::size_t replaced = diagonal + (from[i] == to[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({replaced, diagonal + 1, row[j] + 1});
    }
  }
  return row.back();
}

}  // namespace

std::string closest(std::string_view word, const std::vector<std::string>& choices) {
  constexpr std::size_t kMost = 2;
  std::size_t fewest = std::min(kMost + 1, (word.size() + 1) / 2);
  std::string_view nearest;
  for (const std::string& choice : choices) {
    const std::size_t needed = changes(word, choice);
    if (needed >= fewest) continue;
    fewest = needed;
    nearest = choice;
  }
  return std::string(nearest);
}

}  // namespace arvessa::app
