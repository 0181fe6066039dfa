// SPDX-License-Identifier: Apache-2.0
// Noise estimation, SNR and suppression gain against the reference on random powers and states, the
// gain curves over their domains and the floor's controller.
#include "unit/stages.h"

namespace arvessa::test {
namespace {

struct Activity {
  alignas(2) unsigned char bins[256] = {};
  Word16 voice = 7;
  bool operator==(const Activity&) const = default;
};

void expectSameEstimate(States& s, const Word32* power, int K) {
  Activity got, want;
  s.copy();
  WVQE_Noise_Vad(&s.library, K, power, got.bins);
  reference::WVQE_Noise_Vad(&s.wanted, K, power, want.bins);
  EXPECT_EQ(got, want);
  s.expectSame("noise estimation");
}

TEST(NoiseEstimation, EqualsTheReference) {
  enum Kind { kAnyPower, kNearThresholds, kPowerAtMinimum, kWindowEdges };
  Random random(22);
  for (const Kind kind : {kAnyPower, kNearThresholds, kPowerAtMinimum, kWindowEdges}) {
    for (int round = 0; round < 750; ++round) {
      SCOPED_TRACE(testing::Message() << "kind " << kind << ' ' << round);
      States s(random);
      Word32 power[256];
      for (int k = 0; k < 256; ++k) {
        power[k] =
            kind == kPowerAtMinimum ? s.library.noiseReduction.psdMin[k] : random.anyMagnitude();
        if (kind == kNearThresholds || kind == kPowerAtMinimum) {
          s.library.noiseReduction.psdSmooth[k] =
              std::min(s.library.noiseReduction.psdMin[k], 600000000) / 10 * 32;
        }
      }
      if (kind == kWindowEdges) {  // of the search windows and of the averaging weight
        constexpr std::uint16_t kFrames[] = {1, 2, 99, 100, 101, 999, 1000, 32767};
        constexpr std::uint32_t kCounts[] = {30, 31, 80, 81, 150, 151, 0, 0x80000000U};
        s.library.noiseReduction.frameCountSat = kFrames[random.below(8)];
        s.library.noiseReduction.minWinCount = kCounts[random.below(8)];
      }
      expectSameEstimate(s, power, 64 << (round % 3));
      if (HasFailure()) return;
    }
  }
}

// The three routines alone, far outside the powers of a frame.
TEST(NoiseEstimation, RoutinesEqualTheReference) {
  enum Kind { kAnyWords, kSmall, kLevels, kLevelOverNoise, kVoiceThreshold };
  Random random(18);
  for (const Kind kind : {kAnyWords, kSmall, kLevels, kLevelOverNoise, kVoiceThreshold}) {
    for (int round = 0; round < 600; ++round) {
      SCOPED_TRACE(testing::Message() << "kind " << kind << ' ' << round);
      const auto K = static_cast<Word16>(64 << (round % 3));
      const Word32 levels[2] = {2147483647 >> random.below(31), 2147483647 >> random.below(31)};
      Both<Word32, 256> psd;
      Word32 power[256];
      psd.set([&] {
        return kind == kAnyWords ? random.word32() : kind == kSmall ? random.wordOf(28) : levels[0];
      });
      for (Word32& x : power) {
        x = kind == kAnyWords ? random.word32() : kind == kLevels ? levels[1] : random.wordOf(22);
      }
      if (kind == kVoiceThreshold) {  // the totals, from one word each
        psd.set([] { return 0; });
        psd.library[1] = psd.wanted[1] = random.anyMagnitude();
        std::fill(power, power + 256, 0);
        power[2] =
            static_cast<Word32>((std::int64_t{psd.library[1]} * 2000) >> 15) - 20 - random.below(2);
      }
      Activity got, want;
      VORN_WVQE_Noise_Vad2_ASM(psd.library, power, got.bins, &got.voice, K);
      reference::VORN_WVQE_Noise_Vad2_ASM(psd.wanted, power, want.bins, &want.voice, K);
      EXPECT_EQ(got, want);
      const Word16 alpha = random.word16();
      VORN_WVQE_Noise_Vad3_ASM(power, psd.library, got.bins, alpha, K);
      reference::VORN_WVQE_Noise_Vad3_ASM(power, psd.wanted, got.bins, alpha, K);
      psd.expectSame("noisePsd");
      VORN_WVQE_Noise_Vad1_ASM(psd.library, power, K);
      reference::VORN_WVQE_Noise_Vad1_ASM(psd.wanted, power, K);
      psd.expectSame("psdSmooth");
      if (HasFailure()) return;
    }
  }
}

TEST(SuppressionGain, EqualsTheReferenceAndNeverAmplifies) {
  // Few bits: the quotients' guards and reductions. Few bands: speech is unlikely as a whole.
  enum Kind { kBandPowers, kFewBits, kAnySnr, kFewBands };
  Random random(23);
  for (const Kind kind : {kBandPowers, kFewBits, kAnySnr, kFewBands}) {
    for (int round = 0; round < 1500; ++round) {
      SCOPED_TRACE(testing::Message() << "kind " << kind << ' ' << round);
      States s(random);
      const auto K = static_cast<Word16>(64 << (round % 3));
      const Bank b = bankOf(K);
      Word32 power[24];
      Word32 noise[24];
      for (Word32& x : power) x = random.anyMagnitude() >> (kind == kFewBits ? 24 : 0);
      for (Word32& x : noise) {
        x = random.below(8) == 0 ? 2147483647 - random.below(1000)
                                 : random.anyMagnitude() >> random.below(25);
      }
      Both<Word16, 24> post, prior;
      const auto frame = static_cast<Word16>(s.library.noiseReduction.frameCountSat);
      WVQE_PostAndPriorSNR(post.library, prior.library, s.library.noiseReduction.bandSnrState,
                           power, noise, frame);
      reference::WVQE_PostAndPriorSNR(post.wanted, prior.wanted, s.wanted.bandSnrState, power,
                                      noise, frame);
      post.expectSame("postSnr");
      prior.expectSame("priorSnr");
      s.expectSame("SNR estimation");
      if (kind == kAnySnr || kind == kFewBands) {
        const auto few = [&] { return kind == kFewBands && random.below(24) != 0 ? 12 : 0; };
        post.set([&] { return random.from(-256, 25600) >> random.below(14); });
        prior.set([&] { return random.from(0, 25600) >> std::max(few(), random.below(14)); });
        for (Word16& x : s.library.noiseReduction.bandSmooth) x >>= few();
        s.copy();
      }
      Both<Word16, 256> gain;
      WVQE_Gain_Proc(&s.library, post.library, prior.library, noise, power, b.left, b.filterLeft,
                     b.right, b.filterRight, 1, K, gain.library);
      reference::WVQE_Gain_Proc(&s.wanted, post.wanted, prior.wanted, noise, power, b.left,
                                b.filterLeft, b.right, b.filterRight, 1, K, gain.wanted);
      gain.expectSame("binGain", K);
      s.expectSame("suppression gain");
      EXPECT_GE(*std::min_element(gain.library, gain.library + K), 0);  // and at most 32767
      if (HasFailure()) return;
    }
  }
}

TEST(SuppressionGain, IsOneWhenItIsOff) {
  ::WvqeState state{};
  Word16 gain[65] = {};
  WVQE_Gain_Proc(&state, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, 0,
                 64, gain);
  EXPECT_EQ(std::count(gain, gain + 64, 32767), 64);
  EXPECT_EQ(gain[64], 0);
}

TEST(GainCurves, EqualTheReferenceOverTheirDomains) {
  for (Word32 v = -3; v < 400000; ++v) {
    ASSERT_EQ(WVQE_Hypergeom_Gain(v), reference::WVQE_Hypergeom_Gain(v)) << v;
  }
  for (Word32 x = -3; x < 70000; ++x) ASSERT_EQ(WVQE_Qcurve(x), reference::WVQE_Qcurve(x)) << x;
  EXPECT_EQ(WVQE_Hypergeom_Gain(0), 2722432);
  EXPECT_EQ(WVQE_Hypergeom_Gain(20480), 33191);
  EXPECT_EQ(WVQE_Qcurve(256), 28531);
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
  for (int round = 0; round < 400; ++round) {
    SCOPED_TRACE(round);
    States s(random);
    if (random.below(8) == 0) s.library.noiseReduction.frameCountSat = random.from(32764, 32767);
    s.copy();
    for (int frame = 0; frame < 4; ++frame) {
      Word16 in[480];
      const int shift = random.below(2) == 0 ? 0 : random.below(17);
      for (Word16& x : in) x = random.wordOf(15) >> shift;
      if (random.below(4) == 0) std::fill(in, in + 480, random.word16());
      const auto rate = static_cast<uint8_t>(round % 4);
      const VornConfig cfg = {nullptr, 0, 0, rate, 1, 0, 4};
      const reference::VornConfig same = {nullptr, 0, 0, rate, 1, 0, 4};
      Both<Word16, 480> out;
      WVQE_NR_Proc(in, out.library, &cfg, &s.library);
      reference::WVQE_NR_Proc(in, out.wanted, &same, &s.wanted);
      out.expectSame("frame");
      s.expectSame("noise reduction");
    }
    if (HasFailure()) return;
  }
}

}  // namespace
}  // namespace arvessa::test
