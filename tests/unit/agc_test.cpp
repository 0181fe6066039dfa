// SPDX-License-Identifier: Apache-2.0
// The automatic gain control against the reference, and the timing of its gain.
#include "reference/agc.h"

#include "agc/agc_tables.h"
#include "unit/stages.h"

namespace arvessa::test {
namespace {

TEST(Agc, EqualsTheReference) {
  enum Kind { kStockTable, kSteepTable, kSilence, kAnyVoiceFlag };  // silence: the largest headroom
  Random random(27);
  for (const Kind kind : {kStockTable, kSteepTable, kSilence, kAnyVoiceFlag}) {
    for (int round = 0; round < 1000; ++round) {
      SCOPED_TRACE(testing::Message() << "kind " << kind << ' ' << round);
      States s(random);
      if (kind == kSilence) s.library.agc.agcEnvFast = s.library.agc.agcEnvSlow = 0;
      if (kind == kAnyVoiceFlag) s.library.agc.vadFlag = random.from(-2, 2);
      s.copy();
      const auto rate = static_cast<Word16>(round % 6 - 1);  // -1 and 4: refused, nothing written
      Word16 x[480] = {};
      const int shift = random.below(16);
      for (Word16& sample : x) sample = kind == kSilence ? 0 : random.wordOf(15) >> shift;
      if (shift == 0 && kind != kSilence) x[random.below(80)] = -32768;
      Word32 steep[32];
      random.fill(steep, 32, 27);
      const Word32* table = kind == kSteepTable    ? steep
                            : random.below(2) == 0 ? WVQE_AGC_GAIN_TABLE_5_9
                                                   : WVQE_AGC_GAIN_TABLE_15_9;
      Both<Word16, 480> y;
      VED_AGC_Process(&s.library, x, table, rate, y.library);
      reference::VED_AGC_Process(&s.wanted, x, table, rate, y.wanted);
      y.expectSame("frame");
      s.expectSame("gain control");
      if (HasFailure()) return;
    }
  }
  expectSameFunction("AGC_norm_l", ::AGC_norm_l, reference::AGC_norm_l);
}

// The gain rises on the 201st quieter voice frame, a louder one in between restarts the count, and
// it falls at once.
TEST(Agc, WaitsBeforeTheGainRises) {
  ::WvqeState state{};
  VQE_Init(&state);
  const auto run = [&](int level, int voice, int frames) {
    for (int i = 0; i < frames; ++i) {
      Word16 x[80];
      Word16 y[80];
      for (int n = 0; n < 80; ++n) x[n] = n % 2 == 0 ? level : -level;
      state.agc.vadFlag = static_cast<Word16>(voice);
      VED_AGC_Process(&state, x, WVQE_AGC_GAIN_TABLE_15_9, 0, y);
    }
    return state.agc.agcGainIdx;
  };
  EXPECT_EQ(run(32767, 0, 1), 10);
  EXPECT_EQ(run(32767, 1, 1), 2);
  state.agc.agcEnvFast = state.agc.agcEnvSlow = 1000000;  // headroom 12
  EXPECT_EQ(run(500, 1, 200), 2);
  EXPECT_EQ(state.agc.agcUpCount, 200);
  EXPECT_EQ(run(500, 0, 50), 2) << "frames without voice do not count";
  EXPECT_GT(run(500, 1, 1), 2);
  state.agc.agcUpCount = 150;
  run(32767, 1, 1);
  EXPECT_EQ(state.agc.agcUpCount, 0);
}

}  // namespace
}  // namespace arvessa::test
