// SPDX-License-Identifier: Apache-2.0
#include "hard_signals.h"

#include <array>
#include <cstdint>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace arvessa::bench {
namespace {

constexpr Word16 kLargest = std::numeric_limits<Word16>::max();
constexpr Word16 kSmallest = std::numeric_limits<Word16>::min();

// Loud and 60 dB below in turn, by one frame and by 16: the history of each stage is of the other
// level.
constexpr std::array<HardSignal, 6> kSignals = {{
    {"levels_by_1", "n0na"},
    {"levels_by_16", "n0n0n0n0n0n0n0n0n0n0n0n0n0n0n0n0nananananananananananananananana"},
    {"clicks", "c0"},
    {"square", "s0"},
    {"noise", "n0"},
    {"silence", "z0"},
}};

constexpr std::array<const char*, 4> kFound = {
    "s9d8n1s7c0ndn1s7a0a0n4db", "a3sdz9d3n4cdnaa0a0d3a4c1", "c3sazaa2d8deacn1s1cfc8sa",
    "z0d1d6s0s0s0c5aba4caccn1"};

// The numbers share no factor with the length of a frame, so that no place in it is left out.
Word16 sampleOf(char kind, int index, Word16 noise) {
  switch (kind) {
    case 'n':
      return noise;
    case 's':
      return index / 7 % 2 == 0 ? kLargest : kSmallest;
    case 'a':
      return index % 2 == 0 ? kLargest : kSmallest;
    case 'd':
      return kLargest;
    case 'c':
      return index % 799 == 0 ? kLargest : Word16{0};
    case 'z':
      return 0;
    default:
      throw std::invalid_argument(std::string("there is no signal ") + kind);
  }
}

int levelOf(char digit) {
  const std::size_t level = std::string_view("0123456789abcdef").find(digit);
  if (level == std::string_view::npos) throw std::invalid_argument("a level is one of 0..f");
  return static_cast<int>(level);
}

}  // namespace

std::span<const HardSignal> hardSignals() { return kSignals; }

const char* foundRecipe(int rateCode) { return kFound.at(static_cast<std::size_t>(rateCode)); }

FrameStream framesOf(std::string_view recipe, int frameLength) {
  if (recipe.empty() || recipe.size() % 2 != 0) {
    throw std::invalid_argument("a recipe has two characters for each frame");
  }
  std::minstd_rand random;  // NOLINT(cert-msc*): the same numbers everywhere and always
  const std::size_t frames = recipe.size() / 2;
  std::vector<Word16> samples;
  for (std::size_t f = 0; f < (511 / frames + 1) * frames; ++f) {
    const char* const frame = &recipe[2 * (f % frames)];
    const int level = levelOf(frame[1]);
    for (int i = 0; i < frameLength; ++i) {
      const auto noise = static_cast<Word16>(static_cast<std::uint16_t>(random() >> 8));
      const Word16 sample = sampleOf(frame[0], static_cast<int>(samples.size()), noise);
      samples.push_back(static_cast<Word16>(sample / (1 << level)));
    }
  }
  return {std::move(samples), frameLength};
}

}  // namespace arvessa::bench
