// SPDX-License-Identifier: Apache-2.0
#include "agc/agc.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "arithmetic/operators.h"
#include "kernels/kernels.h"

namespace arvessa {
namespace {

constexpr Word16 kFramesBeforeMoreGain = 200;  // voice frames, 2 s

// A frame is `subframes` subframes of `blocks` samples for the measurement, and `blocks` blocks of
// `subframes` samples, each with one gain, for the ramp.
struct Layout {
  std::size_t subframes;
  std::size_t blocks;
};

// 16 blocks, 8 at 80 samples: subframes of 16 or 8 samples.
Layout layoutOf(std::size_t samples) {
  const std::size_t blocks = std::min<std::size_t>(samples / 10, 16);
  return {samples / blocks, blocks};
}

// Follows the subframe peaks and returns the largest envelope value of the frame.
Word32 trackEnvelopes(AgcState& state, std::span<const Word32> peaks) {
  constexpr Word16 kFastDecay = -1000;  // per subframe, Q15
  constexpr Word16 kSlowRise = 500;
  const Word16 slowFall = state.vadFlag != 0 ? -50 : 0;
  Word32 fast = state.agcEnvFast;
  Word32 slow = state.agcEnvSlow;
  Word32 largest = 0;
  for (const Word32 peak : peaks) {
    fast = std::max(lAdd(mpy32x16(fast, kFastDecay), fast), peak);
    slow = peak > slow ? lAdd(mpy32x16(lSub(peak, slow), kSlowRise), slow)
                       : lAdd(mpy32x16(slow, slowFall), slow);
    largest = std::max({largest, slow, fast});
  }
  state.agcEnvFast = fast;
  state.agcEnvSlow = slow;
  return largest;
}

// The gain index at the end of the frame: down at once on a louder voice frame, up on the 201st
// voice frame that asks for it since the gain last fell or rose.
Word16 decideIndex(AgcState& state, Word16 headroom) {
  const Word16 index = state.agcGainIdx;
  if (state.vadFlag == 0 || index == headroom) return index;
  if (index < headroom && ++state.agcUpCount <= kFramesBeforeMoreGain) return index;
  state.agcUpCount = 0;
  return headroom;
}

// Of an index from the caller's memory, which may be damaged: its low bits count.
Word32 gainAt(std::span<const Word32, kGains> table, Word16 index) {
  return table[static_cast<std::size_t>(index) % kGains];
}

// Multiplies by a gain that climbs from `from` in equal steps; the block after the last would have
// `to`. Gains in Q16, which the product of a halved gain and a Q15 sample undoes.
void ramp(std::span<const Word16> x, std::span<Word16> y, Word32 from, Word32 to,
          const Layout& layout) {
  const std::int64_t start = std::int64_t{from} * 16;
  const std::int64_t step =
      std::int64_t{lSub(to, from)} * (layout.blocks == 8 ? 2 : 1);  // 16 / blocks
  if (step == 0) return Kernels::amplify(x, static_cast<Word32>(start >> 5), y);
  for (std::size_t b = 0; b < layout.blocks; ++b) {
    // Half of a value between the two gains: it has headroom.
    const auto gain = static_cast<Word32>((start + static_cast<std::int64_t>(b) * step) >> 5);
    const std::size_t first = b * layout.subframes;
    Kernels::amplify(x.subspan(first, layout.subframes), gain, y.subspan(first, layout.subframes));
  }
}

}  // namespace

void initialise(AgcState& state) {
  std::memset(&state, 0, sizeof state);  // bytes after the fields, too
  state.agcEnvFast = 100000000;
  state.agcEnvSlow = 100000000;
  state.agcGainIdx = 10;
}

void controlGain(AgcState& state, std::span<const Word32, kGains> table, std::span<const Word16> x,
                 std::span<Word16> y) {
  const Layout layout = layoutOf(x.size());
  Word32 peakOf[kMaxSubframes];
  const auto peaks = std::span(peakOf).first(layout.subframes);
  Kernels::peakPowers(x, peaks);
  const Word32 level = trackEnvelopes(state, peaks);
  const Word16 headroom = level == 0 ? Word16{31} : leadingZeros(level);
  const Word16 before = state.agcGainIdx;
  state.agcGainIdx = decideIndex(state, headroom);
  ramp(x, y, gainAt(table, before), gainAt(table, state.agcGainIdx), layout);
}

Word16 leadingZeros(Word32 v) {
  return v == 0 ? Word16{0} : static_cast<Word16>(std::countl_zero(static_cast<std::uint32_t>(v)));
}

}  // namespace arvessa
