// SPDX-License-Identifier: Apache-2.0
// Noise estimation, SNR and suppression gain against the reference on random powers and states, and
// the floor's controller.
#include "unit/engine_states.h"

namespace arvessa::test {
namespace {

TEST(NoiseEstimation, EqualsTheReference) {
  enum Kind { kAnyPower, kNearThresholds, kPowerAtMinimum, kWindowEdges };
  Random random(22);
  forEach({kAnyPower, kNearThresholds, kPowerAtMinimum, kWindowEdges}, 750, [&](Kind kind) {
    const int bins = 64 << random.below(3);
    States s(random);
    NoiseReductionState& state = s.library.noiseReduction;
    Both<Word32> power(bins, [&] { return random.anyMagnitude(); });
    for (int k = 0; k < bins; ++k) {
      if (kind == kPowerAtMinimum) power.put(k, state.psdMin[k]);
      if (kind == kNearThresholds || kind == kPowerAtMinimum) {
        state.psdSmooth[k] = std::min(state.psdMin[k], 600000000) / 10 * 32;
      }
    }
    if (kind == kWindowEdges) {  // of the search windows and of the averaging weight
      constexpr std::uint16_t kFrames[] = {1, 2, 99, 100, 101, 999, 1000, 32767};
      constexpr std::uint32_t kCounts[] = {30, 31, 80, 81, 150, 151, 0, 0x80000000U};
      state.frameCountSat = kFrames[random.below(8)];
      state.minWinCount = kCounts[random.below(8)];
    }
    s.copy();
    Both<unsigned char> active(bins);
    EXPECT_SAME(WVQE_Noise_Vad, s, bins, power, active);
  });
}

// The three routines alone, far outside the powers of a frame.
TEST(NoiseEstimation, RoutinesEqualTheReference) {
  enum Kind { kAnyWords, kSmall, kLevels, kVoiceThreshold };
  Random random(18);
  forEach({kAnyWords, kSmall, kLevels, kVoiceThreshold}, 600, [&](Kind kind) {
    const int bins = 64 << random.below(3);
    const Word32 level = kMax32 >> random.below(31);
    const auto word = [&] {
      return kind == kAnyWords ? random.word32() : kind == kSmall ? random.wordOf(28) : level;
    };
    Both<Word32> psd(bins, word), power(bins, word);
    if (kind == kVoiceThreshold) {  // the totals, from one word each
      const Word32 total = random.anyMagnitude();
      psd = power = Both<Word32>(bins);
      psd.put(1, total);
      power.put(2, static_cast<Word32>((std::int64_t{total} * 2000) >> 15) - 20 - random.below(2));
    }
    Both<unsigned char> active(bins);
    Both<Word16> voice(1);
    EXPECT_SAME(VORN_WVQE_Noise_Vad2_ASM, psd, power, active, voice, bins);
    EXPECT_SAME(VORN_WVQE_Noise_Vad3_ASM, power, psd, active, random.word16(), bins);
    EXPECT_SAME(VORN_WVQE_Noise_Vad1_ASM, psd, power, bins);
  });
}

TEST(SuppressionGain, EqualsTheReferenceAndNeverAmplifies) {
  // Few bits: the quotients' guards and reductions. Few bands: speech is unlikely as a whole.
  enum Kind { kBandPowers, kFewBits, kAnySnr, kFewBands };
  Random random(23);
  forEach({kBandPowers, kFewBits, kAnySnr, kFewBands}, 1500, [&](Kind kind) {
    const int bins = 64 << random.below(3);
    const Bank b = bankOf(bins);
    States s(random);
    Word32* const state = s.library.noiseReduction.bandSnrState;
    Both<Word32> speech(std::vector<Word32>(state, state + 24));
    Both<Word32> power(24, [&] { return random.anyMagnitude() >> (kind == kFewBits ? 24 : 0); });
    Both<Word32> noise(24, [&] {
      return random.below(8) == 0 ? kMax32 - random.below(1000)
                                  : random.anyMagnitude() >> random.below(25);
    });
    Both<Word16> post(24), prior(24), gain(bins);
    EXPECT_SAME(WVQE_PostAndPriorSNR, post, prior, speech, power, noise,
                random.from(1, random.below(3) == 0 ? 2 : 32767));
    if (kind == kAnySnr || kind == kFewBands) {
      const auto few = [&] { return kind == kFewBands && random.below(24) != 0 ? 12 : 0; };
      post = Both<Word16>(24, [&] { return random.from(-256, 25600) >> random.below(14); });
      prior = Both<Word16>(
          24, [&] { return random.from(0, 25600) >> std::max(few(), random.below(14)); });
      for (Word16& x : s.library.noiseReduction.bandSmooth) x >>= few();
      s.copy();
    }
    EXPECT_SAME(WVQE_Gain_Proc, s, post, prior, noise, power, b.left, b.filterLeft, b.right,
                b.filterRight, random.below(8) == 0 ? 0 : 1, bins, gain);
    EXPECT_GE(*std::min_element(gain.library.begin(), gain.library.end()), 0);  // at most 32767

    Both<Word16> smooth(24, [&] { return random.from(0, 25600); });
    Both<Word16> gainH1(24), probability(24), bandGain(24);
    Both<Word32> sum(1);
    EXPECT_SAME(VORN_NR_Gain_Proc1_ASM, smooth, prior, sum);
    EXPECT_SAME(VORN_NR_Gain_Proc2_ASM, prior, power, gainH1, speech, post, smooth, probability,
                random.from(4024, 32734));
    EXPECT_SAME(VORN_NR_Gain_Proc3_ASM, noise, gainH1, probability, bandGain,
                random.from(0, 32767));
  });
}

// The floor follows a rising total at once, one decibel a frame, and a falling one beyond 3 dB.
TEST(Floor, FollowsTheNoiseWithHysteresis) {
  const auto depthsFor = [](Word16 start, Word32 total, int frames, Word32 more = 0) {
    ::WvqeState state{};
    state.noiseReduction.floorLevel = start;
    const Word32 noise[24] = {total, more};
    std::vector<int> depths;
    for (int i = 0; i < frames; ++i) {
      Word16 floorDb = 0;
      WVQE_Gain_Floor(noise, &floorDb, &state);
      EXPECT_EQ(floorDb, -state.noiseReduction.floorLevel);
      depths.push_back(state.noiseReduction.floorLevel);
    }
    return depths;
  };
  using Depths = std::vector<int>;
  EXPECT_EQ(depthsFor(7, 499999, 2), (Depths{7, 7}));
  EXPECT_EQ(depthsFor(7, 649999, 2), (Depths{7, 7}));
  EXPECT_EQ(depthsFor(7, 650000, 2), (Depths{8, 8}));
  EXPECT_EQ(depthsFor(7, 800000, 3), (Depths{8, 9, 9}));
  EXPECT_EQ(depthsFor(13, 2000000, 3), (Depths{14, 15, 15}));
  EXPECT_EQ(depthsFor(13, 100, 5), (Depths{12, 11, 10, 10, 10}));
  EXPECT_EQ(depthsFor(2, 100, 1), (Depths{4}));
  EXPECT_EQ(depthsFor(14, 2147483647, 2), (Depths{15, 15}));
  // A full total goes on from half of it, and counts 2.
  EXPECT_EQ(depthsFor(8, 2147483647, 3, 500000 - 0x3FFFFFFF), (Depths{9, 9, 9}));
}

// Whole frames of very different levels, one after the other: also where the history has no headroom
// at the scale of the new frame, and around the highest frame count.
TEST(NoiseReduction, FramesEqualTheReference) {
  Random random(28);
  forEach({0, 1, 2, 3}, 100, [&](int rateCode) {
    const auto rate = static_cast<std::uint8_t>(rateCode);
    const ::VornConfig cfg = {nullptr, 0, 0, rate, 1, 0, 4};
    const reference::VornConfig same = {nullptr, 0, 0, rate, 1, 0, 4};
    States s(random);
    if (random.below(8) == 0) s.library.noiseReduction.frameCountSat = random.from(32764, 32767);
    s.copy();
    for (int frame = 0; frame < 4; ++frame) {
      const int shift = random.below(2) == 0 ? 0 : random.below(17);
      Both<Word16> in(480, [&] { return random.wordOf(15) >> shift; }), out(480);
      if (random.below(4) == 0) in = Both(std::vector<Word16>(480, random.word16()));
      expectSame(
          "WVQE_NR_Proc", [&](auto* x, auto* y, auto* state) { WVQE_NR_Proc(x, y, &cfg, state); },
          [&](auto* x, auto* y, auto* state) { reference::WVQE_NR_Proc(x, y, &same, state); }, in,
          out, s);
    }
  });
}

}  // namespace
}  // namespace arvessa::test
