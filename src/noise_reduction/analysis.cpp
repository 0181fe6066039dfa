// SPDX-License-Identifier: Apache-2.0
#include "noise_reduction/analysis.h"

#include <algorithm>

#include "arithmetic/operators.h"

namespace arvessa {
namespace {

// Of the windowed block only the history, 3/16 of it, and the word after it can exceed 2^27. A
// value of the pairs' spectrum is their mean, turned, and no larger where sums saturate; the split
// step adds a factor of sqrt(2) at most: below 0.42 x 2^31.
constexpr UsedBits kSpectrumBits = bitsBelow(30);
static_assert(16 * kSmallestHistory == 3 * 2 * kSmallestBins);

}  // namespace

Analysis analyse(const Geometry& geometry, ConstBlock fresh, const AnalysisMemory& memory,
                 const AnalysisBlocks& blocks) {
  const Word16 scaleChange = sub(fresh.exponent, memory.exponent);
  memory.exponent = fresh.exponent;

  const Block time = framed(geometry, fresh, scaleChange, memory, blocks.time);
  const UsedBits bits = Kernels::forwardTransform(time, geometry.transform, blocks.spectrum);
  const Block spectrum = {blocks.spectrum, std::min(bits, kSpectrumBits), fresh.exponent};
  std::fill_n(spectrum.words.begin(), 4, 0);  // bins 0, K and 1

  const ConstBlock power(blocks.power, Kernels::powers(spectrum, blocks.power));
  Kernels::sumIntoBands(power, geometry.bank, blocks.bandPower);
  return {spectrum, power};
}

Block framed(const Geometry& geometry, ConstBlock frame, Word16 scaleChange,
             const AnalysisMemory& memory, std::span<Word32> time) {
  const std::size_t history = memory.history.size();
  const std::span<Word32> past = time.first(history);
  const std::span<Word32> fresh = time.subspan(history, frame.words.size());
  const std::span<Word32> windowed = time.first(geometry.window.size());
  if (scaleChange <= 0) {
    const int down = scaleChange < -31 ? 31 : -scaleChange;
    for (std::size_t i = 0; i < history; ++i) past[i] = memory.history[i] >> down;
  } else {
    for (std::size_t i = 0; i < history; ++i) past[i] = lShl(memory.history[i], scaleChange);
  }
  const UsedBits freshBits = Kernels::preemphasise(frame, lShl(memory.last, scaleChange), fresh);
  memory.last = frame.words.back();
  std::fill(time.begin() + static_cast<std::ptrdiff_t>(windowed.size()), time.end(), 0);
  std::copy(windowed.end() - static_cast<std::ptrdiff_t>(history), windowed.end(),
            memory.history.begin());

  const UsedBits bits =
      Kernels::multiply({windowed, freshBits | Kernels::bitsOf(past)}, geometry.window);
  return {time, bits, frame.exponent};
}

}  // namespace arvessa
