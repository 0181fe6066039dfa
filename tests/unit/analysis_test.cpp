// SPDX-License-Identifier: Apache-2.0
// Analysis, filterbank, output filter and band split against the reference on random frames and
// states, far from the usual operating point included.

#include "unit/engine_states.h"

namespace arvessa::test {
namespace {

TEST(Analysis, EqualsTheReference) {
  Random random(20);
  forEach({0, 1, 2, 3}, 150, [&](int rateCode) {
    const Geometry g = geometryOf(kRates[rateCode].sizeCode);
    const Bank b = bankOf(g.bins);
    const int bits = random.below(32);
    States s(random);
    Both<Word32> in(g.frame, [&] { return random.wordOf(bits); });
    Both<Word32> power(g.bins), band(24), spectrum(2 * g.bins), work(2 * g.bins);
    std::vector<Word32> time(2 * g.bins);
    EXPECT_SAME(WVQE_Analysis, in, power, band, time.data(), spectrum, work, nullptr, nullptr,
                nullptr, b.left, b.filterLeft, b.right, b.filterRight, g.frame, g.bins, g.history,
                rateCode, s);
  });
}

// Steps of it, and the output filter, of blocks without headroom.
TEST(Analysis, StepsEqualTheReference) {
  Random random(29);
  forEach({0, 1, 2}, 300, [&](int sizeCode) {
    const Geometry g = geometryOf(sizeCode);
    const int bits = random.from(16, 31);
    const auto word = [&] { return random.wordOf(bits); };
    Both<Word32> words(2 * g.bins, word), power(g.bins), time(2 * g.bins), memory(1, word);
    Both<Word32> history(g.history, word), overlap(2 * g.bins - g.frame, word);
    Both<Word16> out(g.frame);
    words.put(6, kMin32);  // a power of exactly 2^31
    words.put(7, 0);
    EXPECT_SAME(VORN_WVQE_Analysis2_ASM, words, power, sizeCode);
    EXPECT_SAME(VORN_WVQE_Analysis1_ASM, time, words, history, random.from(-40, 39), memory,
                sizeCode);
    EXPECT_SAME(VORN_WVQE_MainProcess_ASM, overlap, words, memory, out, g.frame, g.bins);
  });
}

// The way to the bins with the filterbank's weights, and with any: sums beyond 1, products of -1 and -1.
TEST(Filterbank, EqualsTheReference) {
  enum Kind { kMagnitudes, kAnyWords, kLastBinWithoutHeadroom };
  Random random(21);
  const auto any = [&] { return random.below(4) == 0 ? Word16{-32768} : random.word16(); };
  forEach({kMagnitudes, kAnyWords, kLastBinWithoutHeadroom}, 300, [&](Kind kind) {
    const int bins = 64 << random.below(3);
    const Bank b = bankOf(bins);
    const int K = random.from(bins - 15, bins);
    Both<Word32> power(K,
                       [&] { return kind == kAnyWords ? random.word32() : random.anyMagnitude(); });
    if (kind == kLastBinWithoutHeadroom) power.put(K - 1, kMax32);
    Both<Word32> bands(24);
    EXPECT_SAME(WVQE_Spectrum_Bank, power, bands, b.left, b.right, b.filterLeft, b.filterRight, K);
    Both<Word16> values(24, any), left(K, any), right(K, any), out(K);
    EXPECT_SAME(WVQE_Spectrum_PSD, out, b.filterLeft, b.filterRight, b.left, b.right, values, K);
    EXPECT_SAME(WVQE_Spectrum_PSD, out, left, right, b.left, b.right, values, K);
  });
}

// Memories are carried on from frame to frame.
TEST(BandSplit, EqualsTheReference) {
  enum Kind {
    kFrames,
    kAnyLength,
    kBeyondAFrame,
    kWildMemories
  };  // beyond what the filters produce
  struct Memory {
    Both<Word16> x{10};
    Both<Word32> y{10};
  } low, high, joined;
  Random random(25);
  forEach({kFrames, kAnyLength, kBeyondAFrame, kWildMemories}, 15, [&](Kind kind) {
    for (Memory* memory : {&low, &high, &joined}) {
      if (kind == kWildMemories) memory->y = Both<Word32>(10, [&] { return random.word32(); });
    }
    const int n = kind == kBeyondAFrame ? 200 : kind == kAnyLength ? random.from(1, 160) : 160;
    const int bits = random.below(16);
    Both<Word16> in(3 * n, [&] { return random.wordOf(bits); });
    Both<Word16> lowBand(n), highBand(3 * n), out(3 * n);
    EXPECT_SAME(AEC_Split_Ne, in, lowBand, highBand, n, low.x, low.y, high.x, high.y);
    if (kind != kBeyondAFrame)
      EXPECT_SAME(AEC_Syn_Ne, lowBand, highBand, out, n, joined.x, joined.y);
  });
}

}  // namespace
}  // namespace arvessa::test
