// SPDX-License-Identifier: Apache-2.0
// The band split at 48 kHz against the reference, memories carried on from frame to frame.

#include "unit/stages.h"

namespace arvessa::test {
namespace {

TEST(BandSplit, EqualsTheReference) {
  enum Kind { kFrames, kAnyLength, kBeyondAFrame, kWildMemories };
  Random random(25);
  States s(random);
  for (const Kind kind : {kFrames, kAnyLength, kBeyondAFrame, kWildMemories}) {
    for (int round = 0; round < 15; ++round) {
      SCOPED_TRACE(testing::Message() << "kind " << kind << ' ' << round);
      if (kind == kWildMemories) {  // far beyond what the filters produce
        for (Word32* memory :
             {s.library.noiseReduction.splitLpfY, s.library.noiseReduction.splitHpfY,
              s.library.noiseReduction.synLpfY}) {
          std::generate(memory, memory + 10, [&] { return random.word32(); });
        }
        s.copy();
      }
      const Word16 n = kind == kBeyondAFrame ? 200 : kind == kAnyLength ? random.from(1, 160) : 160;
      Word16 in[600];
      const int bits = random.below(16);
      for (Word16& x : in) x = random.wordOf(bits);
      Both<Word16, 600> low, high, out;
      AEC_Split_Ne(in, low.library, high.library, n, s.library.noiseReduction.splitLpfX,
                   s.library.noiseReduction.splitLpfY, s.library.noiseReduction.splitHpfX,
                   s.library.noiseReduction.splitHpfY);
      reference::AEC_Split_Ne(in, low.wanted, high.wanted, n, s.wanted.splitLpfX,
                              s.wanted.splitLpfY, s.wanted.splitHpfX, s.wanted.splitHpfY);
      low.expectSame("low");
      high.expectSame("high");
      if (n <= 160) {  // in place
        std::copy(low.library, low.library + n, out.library);
        AEC_Syn_Ne(out.library, high.library, out.library, n, s.library.noiseReduction.synLpfX,
                   s.library.noiseReduction.synLpfY);
        reference::AEC_Syn_Ne(low.wanted, high.wanted, out.wanted, n, s.wanted.synLpfX,
                              s.wanted.synLpfY);
        out.expectSame("out", 3 * n);
      }
      s.expectSame("band split");
      if (HasFailure()) return;
    }
  }
}

}  // namespace
}  // namespace arvessa::test
