// SPDX-License-Identifier: Apache-2.0
#include "stages.h"

#include <cmath>

namespace arvessa::python {
namespace {

std::int64_t energy(std::span<const Word16> samples) {
  std::int64_t sum = 0;
  for (const std::int64_t sample : samples) sum += sample * sample;
  return sum;
}

// dBFS: the mean square of a constant of +-1 is 0, and what lies below -100 counts as that.
double level(std::int64_t energy, std::size_t samples) {
  const double power = static_cast<double>(energy) / static_cast<double>(samples) / 0x1p30;
  return power > 0 ? std::max(-100.0, 10 * std::log10(power)) : -100;
}

}  // namespace

void TracedFrontEnd::process(std::span<const Word16> in, std::size_t filled, Output& out) {
  const std::span<Word16, kMostSamples> frame(out.samples, kMostSamples);
  const app::Decision decision = frontEnd_.process(in.first<kChannels * kMostSamples>(), frame);
  if (filled_ > 0) writeRow(frame, out.rows);
  filled_ = filled;
  if (filled == 0) return;
  levelIn_ = level(energy(in.first(filled)) + energy(in.subspan(kMostSamples, filled)), 2 * filled);
  decision_ = decision;
  std::ranges::copy(frame, last_.begin());
}

void TracedFrontEnd::finish(Output& out) {
  if (filled_ > 0) writeRow({}, out.rows);
}

void TracedFrontEnd::writeRow(std::span<const Word16> next, double*& rows) {
  const auto begin = static_cast<std::size_t>(latency());
  const std::size_t here = std::min(filled_, kMostSamples - begin);
  const std::int64_t out =
      energy(std::span(last_).subspan(begin, here)) + energy(next.first(filled_ - here));
  const std::array<double, kColumns> row = {
      static_cast<double>(frames_++) / 100,
      levelIn_,
      level(out, filled_),
      static_cast<double>(decision_.beam),
      directions_.at(static_cast<std::size_t>(decision_.beam)),
      static_cast<double>(decision_.voice),
      static_cast<double>(decision_.agcIndex),
      decision_.agcGain,
      decision_.floor,
      decision_.meanSuppression};
  rows = std::ranges::copy(row, rows).out;
}

}  // namespace arvessa::python
