// SPDX-License-Identifier: Apache-2.0
#include "stages.h"

namespace arvessa::python {
namespace {

// dBFS: the mean square of a constant of +-1 is 0, and what lies below -100 counts as that.
double level(std::int64_t energy, std::size_t samples) {
  const double power = static_cast<double>(energy) / static_cast<double>(samples) / 0x1p30;
  return power > 0 ? std::max(-100.0, 10 * std::log10(power)) : -100;
}

}  // namespace

std::int64_t energyOf(std::span<const Word16> samples) {
  std::int64_t sum = 0;
  for (const std::int64_t sample : samples) sum += sample * sample;
  return sum;
}

void writeRow(std::int64_t frame, std::int64_t energyIn, std::size_t channels,
              std::int64_t energyOut, std::size_t samples, const app::Decision& decision,
              double direction, double*& rows) {
  const std::array<double, kColumns> row = {static_cast<double>(frame) / 100,
                                            level(energyIn, channels * samples),
                                            level(energyOut, samples),
                                            static_cast<double>(decision.beam),
                                            direction,
                                            static_cast<double>(decision.voice),
                                            static_cast<double>(decision.agcIndex),
                                            decision.agcGain,
                                            decision.floor,
                                            decision.meanSuppression};
  rows = std::ranges::copy(row, rows).out;
}

}  // namespace arvessa::python
