#include "agc/agc.h"

#include <algorithm>
#include <bit>

#include "fixedpoint/lanes.h"
#include "fixedpoint/operators.h"

namespace arvessa {
namespace {

constexpr Word16 kFramesBeforeMoreGain = 200;  // voice frames, 2 s

// A frame is `subframes` subframes of `blocks` samples for the measurement, and `blocks` blocks of
// `subframes` samples, each with one gain, for the ramp.
struct Layout {
  int subframes;
  int blocks;
  int rampShift;  // brings the ramp step of 8 blocks to that of 16
};

Layout layoutOf(int rateCode) {
  if (rateCode == 0) return {10, 8, 1};
  return {rateCode == 1 ? 10 : 10 * rateCode, 16, 0};
}

// The largest squared sample, Q30; a full-scale square is held below 1. `count` is a multiple of 8.
Word32 peakPower(const Word16* samples, int count) {
  Word16 highest = 0;
  Word16 lowest = 0;
  for (int i = 0; i < count; i += 8) {
    for (int j = i; j < i + 8; ++j) {
      highest = std::max(highest, samples[j]);
      lowest = std::min(lowest, samples[j]);
    }
  }
  const Word32 peak = std::max<Word32>(highest, -Word32{lowest});
  return std::min(peak * peak, Word32{0x3FFFFFFF});
}

// Follows the subframe peaks and returns the largest envelope value of the frame.
Word32 trackEnvelopes(WvqeState& state, const Word16* x, const Layout& layout, bool voice) {
  constexpr Word16 kFastDecay = -1000;  // per subframe, Q15
  constexpr Word16 kSlowRise = 500;
  const Word16 slowFall = voice ? -50 : 0;
  Word32 fast = state.agcEnvFast;
  Word32 slow = state.agcEnvSlow;
  Word32 largest = 0;
  for (int j = 0; j < layout.subframes; ++j) {
    const Word32 peak = peakPower(x + j * layout.blocks, layout.blocks);
    fast = std::max(lAdd(mpy32x16(fast, kFastDecay), fast), peak);
    slow = peak > slow ? lAdd(mpy32x16(lSub(peak, slow), kSlowRise), slow)
                       : lAdd(mpy32x16(slow, slowFall), slow);
    largest = std::max({largest, slow, fast});
  }
  state.agcEnvFast = fast;
  state.agcEnvSlow = slow;
  return largest;
}

// The gain index at the end of the frame: down at once on a louder voice frame, up after 200 voice
// frames that ask for it.
Word16 decideIndex(WvqeState& state, Word16 headroom, bool voice) {
  const Word16 index = state.agcGainIdx;
  if (voice && index > headroom) {
    state.agcUpCount = 0;
    return headroom;
  }
  if (voice && headroom > index) {
    ++state.agcUpCount;
    if (state.agcUpCount > kFramesBeforeMoreGain) {
      state.agcUpCount = 0;
      return headroom;
    }
  }
  return index;
}

// Multiplies by a gain that climbs from `from` in equal steps; the block after the last would have
// `to`. Gains in Q16, which the product of a halved gain and a Q15 sample undoes.
void ramp(const Word16* x, Word16* y, Word32 from, Word32 to, const Layout& layout) {
  const std::int64_t start = std::int64_t{from} * 16;
  const std::int64_t step = std::int64_t{lSub(to, from)} * (1 << layout.rampShift);
  // Half of a value between the two gains: it has headroom.
  const auto gainOf = [&](int block) { return static_cast<Word32>((start + block * step) >> 5); };
  const int samples = layout.blocks * layout.subframes;
  if (kHaveLanes && step == 0) {
    const Word32 gain = gainOf(0);
    const Lanes gains = {gain, gain, gain, gain};
    for (int i = 0; i < samples; i += 4) storeSaturated(y + i, mulQ15(gains, loadFactors(x + i)));
    return;
  }
  for (int b = 0; b < layout.blocks; ++b) {
    const Word32 gain = gainOf(b);
    for (int i = b * layout.subframes; i < (b + 1) * layout.subframes; ++i) {
      y[i] = saturate16(mpy32x16(gain, x[i]));
    }
  }
}

}  // namespace
}  // namespace arvessa

extern "C" {

void VED_AGC_Process(WvqeState* state, const Word16* x, const Word32* table, Word16 rateCode,
                     Word16* y) {
  using namespace arvessa;
  if (rateCode < 0 || rateCode > 3) return;
  const Layout layout = layoutOf(rateCode);
  const bool voice = state->vadFlag != 0;
  const Word32 level = trackEnvelopes(*state, x, layout, voice);
  const Word16 headroom = level == 0 ? Word16{31} : AGC_norm_l(level);
  const Word16 index = decideIndex(*state, headroom, voice);
  ramp(x, y, table[state->agcGainIdx], table[index], layout);
  state->agcGainIdx = index;
}

Word16 AGC_norm_l(Word32 v) {
  return v == 0 ? Word16{0} : static_cast<Word16>(std::countl_zero(static_cast<std::uint32_t>(v)));
}

}  // extern "C"
