// SPDX-License-Identifier: Apache-2.0
#include "hard_signals.h"

#include <array>
#include <cstdint>
#include <limits>
#include <random>
#include <utility>
#include <vector>

#include "Arvessa.h"

namespace arvessa::bench {
namespace {

constexpr Word16 kLargest = std::numeric_limits<Word16>::max();
constexpr Word16 kSmallest = std::numeric_limits<Word16>::min();

// Loud for `frames` frames, then 60 dB below for as many: the history of each stage is of the other
// level.
template <int frames>
Word16 levels(int index, Word16 noise) {
  const bool loud = index / ARVESSA_FRAME_SAMPLES / frames % 2 == 0;
  return loud ? noise : static_cast<Word16>(noise / 1024);
}

// The numbers share no factor with the length of a frame, so that no place in it is left out.
Word16 clicks(int index, Word16) { return index % 799 == 0 ? kLargest : Word16{0}; }
Word16 square(int index, Word16) { return index / 7 % 2 == 0 ? kLargest : kSmallest; }

constexpr std::array<HardSignal, 6> kSignals = {{
    {"levels_by_1", levels<1>},
    {"levels_by_16", levels<16>},
    {"clicks", clicks},
    {"square", square},
    {"noise", [](int, Word16 noise) { return noise; }},
    {"silence", [](int, Word16) { return Word16{0}; }},
}};

}  // namespace

std::span<const HardSignal> hardSignals() { return kSignals; }

FrameStream framesOf(const HardSignal& signal) {
  std::minstd_rand random;  // NOLINT(cert-msc*): the same numbers everywhere and always
  std::vector<Word16> samples(512 * ARVESSA_FRAME_SAMPLES);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const auto noise = static_cast<Word16>(static_cast<std::uint16_t>(random() >> 8));
    samples[i] = signal.sample(static_cast<int>(i), noise);
  }
  return {std::move(samples), ARVESSA_FRAME_SAMPLES};
}

}  // namespace arvessa::bench
