// SPDX-License-Identifier: Apache-2.0
// The automatic gain control against the reference, and the timing of its gain.
#include "reference/agc.h"

#include "agc/agc_tables.h"
#include "unit/engine_states.h"

namespace arvessa::test {
namespace {

TEST(Agc, EqualsTheReference) {
  enum Kind { kStockTable, kSteepTable, kSilence, kAnyVoiceFlag };  // silence: the largest headroom
  Random random(27);
  forEach({kStockTable, kSteepTable, kSilence, kAnyVoiceFlag}, 1000, [&](Kind kind) {
    States s(random);
    AgcState& state = s.library.agc;
    if (kind == kSilence) state.agcEnvFast = state.agcEnvSlow = 0;
    if (kind == kAnyVoiceFlag) state.vadFlag = random.from(-2, 2);
    s.copy();
    const int shift = random.below(16);
    Both<Word16> x(480, [&] { return kind == kSilence ? 0 : random.wordOf(15) >> shift; }), y(480);
    if (shift == 0 && kind != kSilence) x.put(random.below(80), -32768);
    Both<Word32> steep(32, [&] { return random.wordOf(27); });
    const int rateCode = random.from(-1, 4);  // -1 and 4: refused, nothing written
    if (kind == kSteepTable) {
      EXPECT_SAME(VED_AGC_Process, s, x, steep, rateCode, y);
    } else {
      const Word32* const stock[] = {WVQE_AGC_GAIN_TABLE_5_9, WVQE_AGC_GAIN_TABLE_15_9};
      EXPECT_SAME(VED_AGC_Process, s, x, stock[random.below(2)], rateCode, y);
    }
  });
}

// The gain rises on the 201st quieter voice frame, a louder one in between restarts the count, and
// it falls at once.
TEST(Agc, WaitsBeforeTheGainRises) {
  ::WvqeState state{};
  VQE_Init(&state);
  const auto indexAfter = [&](int level, Word16 voice, int frames) {
    Word16 x[80], y[80];
    std::fill_n(x, 80, level);
    state.agc.vadFlag = voice;
    while (frames-- > 0) VED_AGC_Process(&state, x, WVQE_AGC_GAIN_TABLE_15_9, 0, y);
    return state.agc.agcGainIdx;
  };
  EXPECT_EQ(indexAfter(32767, 0, 1), 10);
  EXPECT_EQ(indexAfter(32767, 1, 1), 2);
  state.agc.agcEnvFast = state.agc.agcEnvSlow = 1000000;  // headroom 12
  EXPECT_EQ(indexAfter(500, 1, 200), 2);
  EXPECT_EQ(state.agc.agcUpCount, 200);
  EXPECT_EQ(indexAfter(500, 0, 50), 2) << "frames without voice do not count";
  EXPECT_GT(indexAfter(500, 1, 1), 2);
  state.agc.agcUpCount = 150;
  indexAfter(32767, 1, 1);
  EXPECT_EQ(state.agc.agcUpCount, 0);
}

}  // namespace
}  // namespace arvessa::test
