// SPDX-License-Identifier: Apache-2.0
// The engine's stages, each against the model on random inputs and states, far from the usual
// operating point included, and on signals whose answer is known.
#include <memory>

#include "agc/agc.h"
#include "engine/analysis.h"
#include "engine/band_split.h"
#include "engine/engine_init.h"
#include "engine/filterbank.h"
#include "engine/gain_curves.h"
#include "engine/noise_estimation.h"
#include "engine/nr_pipeline.h"
#include "engine/snr_estimation.h"
#include "engine/suppression_gain.h"
#include "model_agc.h"
#include "model_engine.h"
#include "model_tables.h"
#include "support.h"

namespace arvessa::test {
namespace {

static_assert(sizeof(::WvqeState) == sizeof(model::WvqeState), "same fields, same order");

Word32 magnitude(Random& random) { return (random.wordOf(31) & 0x7FFFFFFF) >> random.below(31); }

// Two states, the library's and the model's, with the same random content within the fields'
// ranges.
struct States {
  explicit States(Random& random) {
    VQE_Init(&library);
    for (Word32* field : {library.psdTmpMin, library.psdMin, library.psdSmooth, library.noisePsd}) {
      for (int k = 0; k < 256; ++k) field[k] = magnitude(random);
    }
    random.fill(library.anaHistory, 96, 31);
    random.fill(library.olaBuffer, 192, 31);
    for (Word32& x : library.bandSnrState) {
      x = random.below(8) == 0 ? 2147483647 - random.below(1 << random.below(25))
                               : magnitude(random);
    }
    for (Word16& x : library.bandSmooth) x = static_cast<Word16>(random.below(25601));
    library.anaMem = random.word32();
    library.deemphMem = random.word32();
    library.inputExp = static_cast<Word16>(random.below(40) - 10);
    library.floorLevel = static_cast<Word16>(random.below(18));
    library.frameCountSat = static_cast<std::uint16_t>(
        1 + (random.below(3) == 0 ? random.below(3) : random.below(32767)));
    library.minWinCount = static_cast<std::uint32_t>(random.below(160));
    library.agcEnvFast = magnitude(random);
    library.agcEnvSlow = magnitude(random);
    library.agcGainIdx = static_cast<Word16>(random.below(32));
    library.agcUpCount = static_cast<std::uint16_t>(random.below(202));
    library.vadFlag = static_cast<Word16>(random.below(2));
    std::memcpy(&model, &library, sizeof library);
  }
  void expectSame(const char* what) const {
    EXPECT_EQ(std::memcmp(&library, &model, sizeof library), 0) << "state after " << what;
  }

  ::WvqeState library;
  model::WvqeState model;
};

struct Bank {
  const Word32* left;
  const Word32* right;
  const Word16* filterLeft;
  const Word16* filterRight;
};
Bank bankOf(int bins) {
  if (bins == 64) {
    return {WVQE_CONST_TABLE_BANK_LEFT_8K, WVQE_CONST_TABLE_BANK_RIGHT_8K,
            WVQE_CONST_TABLE_FILTER_LEFT_8K, WVQE_CONST_TABLE_FILTER_RIGHT_8K};
  }
  if (bins == 128) {
    return {WVQE_CONST_TABLE_BANK_LEFT_16K, WVQE_CONST_TABLE_BANK_RIGHT_16K,
            WVQE_CONST_TABLE_FILTER_LEFT_16K, WVQE_CONST_TABLE_FILTER_RIGHT_16K};
  }
  return {WVQE_CONST_TABLE_BANK_LEFT_32K, WVQE_CONST_TABLE_BANK_RIGHT_32K,
          WVQE_CONST_TABLE_FILTER_LEFT_32K, WVQE_CONST_TABLE_FILTER_RIGHT_32K};
}

TEST(Stages, AnalysisEqualsTheModel) {
  Random random(20);
  for (int round = 0; round < 600; ++round) {
    States s(random);
    const int sizeCode = round % 3;
    const Geometry g = kGeometry[sizeCode];
    const Bank b = bankOf(g.bins);
    std::vector<Word32> got(static_cast<std::size_t>(g.frame));
    random.fill(got.data(), got.size(), random.below(32));
    std::vector<Word32> want = got;
    Word32 power[2][256];
    Word32 band[2][24];
    Word32 time[2][512];
    Word32 spectrum[2][512];
    Word32 specWork[2][512];
    const auto rateCode = static_cast<Word16>(sizeCode == 1 && round % 2 == 0 ? 3 : sizeCode);
    WVQE_Analysis(got.data(), power[0], band[0], time[0], spectrum[0], specWork[0], nullptr,
                  nullptr, nullptr, b.left, b.filterLeft, b.right, b.filterRight, g.frame, g.bins,
                  g.history, rateCode, &s.library);
    model::WVQE_Analysis(want.data(), power[1], band[1], time[1], spectrum[1], specWork[1], nullptr,
                         nullptr, nullptr, b.left, b.filterLeft, b.right, b.filterRight, g.frame,
                         g.bins, g.history, rateCode, &s.model);
    ASSERT_EQ(got, want);
    const auto words = static_cast<std::size_t>(2 * g.bins);
    expectSameArray(spectrum[0], spectrum[1], words, "spectrum");
    expectSameArray(specWork[0], specWork[1], words, "specWork");
    expectSameArray(power[0], power[1], words / 2, "powerSpec");
    expectSameArray(band[0], band[1], 24, "bandPower");
    s.expectSame("analysis");

    random.fill(spectrum[0], words, 31);
    spectrum[0][6] = -2147483647 - 1;  // a power of exactly 2^31
    spectrum[0][7] = 0;
    VORN_WVQE_Analysis2_ASM(spectrum[0], power[0], static_cast<Word16>(sizeCode));
    model::VORN_WVQE_Analysis2_ASM(spectrum[0], power[1], static_cast<Word16>(sizeCode));
    expectSameArray(power[0], power[1], words / 2, "power of a full spectrum");
    const auto d = static_cast<Word16>(random.below(80) - 40);
    VORN_WVQE_Analysis1_ASM(time[0], spectrum[0], s.library.anaHistory, d, &s.library.anaMem,
                            static_cast<Word16>(sizeCode));
    model::VORN_WVQE_Analysis1_ASM(time[1], spectrum[0], s.model.anaHistory, d, &s.model.anaMem,
                                   static_cast<Word16>(sizeCode));
    expectSameArray(time[0], time[1], words, "block without headroom");
    s.expectSame("framing");
    if (HasFailure()) FAIL() << "round " << round;
  }
}

TEST(Stages, FilterbankEqualsTheModelAndKeepsProportions) {
  Random random(21);
  for (int round = 0; round < 600; ++round) {
    const int bins = 64 << (round % 3);
    const Bank b = bankOf(bins);
    const auto K = static_cast<Word16>(bins - random.below(16));
    Word32 power[256];
    for (Word32& x : power) x = round % 2 == 0 ? magnitude(random) : random.word32();
    if (round % 5 == 0) power[K - 1] = 2147483647;  // the one word without headroom
    Word32 got[24];
    Word32 want[24];
    WVQE_Spectrum_Bank(power, got, b.left, b.right, b.filterLeft, b.filterRight, K);
    model::WVQE_Spectrum_Bank(power, want, b.left, b.right, b.filterLeft, b.filterRight, K);
    expectSameArray(got, want, 24, "bands");
    // Any weights, and so sums beyond 1; two products of -1 and -1 among them.
    const auto any = [&] { return random.below(4) == 0 ? Word16{-32768} : random.word16(); };
    Word16 values[24];
    for (Word16& x : values) x = static_cast<Word16>(any() & (round % 3 == 0 ? -1 : 32767));
    Word16 weights[2][256];
    for (auto& side : weights) {
      for (Word16& x : side) x = any();
    }
    Word16 gotBins[256];
    Word16 wantBins[256];
    const auto* filterLeft = round % 4 == 0 ? weights[0] : b.filterLeft;
    const auto* filterRight = round % 4 == 0 ? weights[1] : b.filterRight;
    WVQE_Spectrum_PSD(gotBins, filterLeft, filterRight, b.left, b.right, values, K);
    model::WVQE_Spectrum_PSD(wantBins, filterLeft, filterRight, b.left, b.right, values, K);
    expectSameArray(gotBins, wantBins, static_cast<std::size_t>(K), "bins");
    if (HasFailure()) FAIL() << "round " << round;
  }
}

TEST(Stages, NoiseEstimationEqualsTheModel) {
  Random random(22);
  for (int round = 0; round < 3000; ++round) {
    States s(random);
    if (round % 4 == 0) {  // the edges of the two windows and of the averaging weight
      constexpr std::uint16_t kEdges[] = {1, 2, 99, 100, 101, 999, 1000, 32767};
      constexpr std::uint32_t kCounts[] = {30, 31, 80, 81, 150, 151, 0, 0x80000000U};
      s.library.frameCountSat = s.model.frameCountSat = kEdges[random.below(8)];
      s.library.minWinCount = s.model.minWinCount = kCounts[random.below(8)];
    }
    const int K = 64 << (round % 3);
    Word32 power[256];
    for (int k = 0; k < 256; ++k) {
      power[k] = round % 5 == 0 ? s.library.psdMin[k] : magnitude(random);
      // Near the thresholds of the decisions.
      if (round % 2 == 0)
        s.library.psdSmooth[k] = std::min(s.library.psdMin[k], 600000000) / 10 * 32;
    }
    std::memcpy(&s.model, &s.library, sizeof s.library);
    alignas(2) unsigned char active[2][256] = {};
    WVQE_Noise_Vad(&s.library, K, power, active[0]);
    model::WVQE_Noise_Vad(&s.model, K, power, active[1]);
    EXPECT_EQ(std::memcmp(active[0], active[1], 256), 0) << "binActive";
    s.expectSame("noise estimation");

    // The three routines on any operands: of any size, small, all the same, and with totals at the
    // threshold of the decision.
    Word32 any[256];
    const int kind = round % 4;
    const Word32 levels[2] = {2147483647 >> random.below(31), 2147483647 >> random.below(31)};
    for (Word32& x : any)
      x = kind == 0 ? random.word32() : kind == 1 ? random.wordOf(28) : levels[0];
    for (Word32& x : power) {
      x = kind == 0 ? random.word32() : kind == 1 || round % 8 == 3 ? random.wordOf(22) : levels[1];
    }
    if (round % 8 == 6) {
      std::fill(any, any + K, 0);
      std::fill(power, power + K, 0);
      any[1] = magnitude(random);
      power[2] = static_cast<Word32>((std::int64_t{any[1]} * 2000) >> 15) - 20 - random.below(2);
    }
    Word16 voice[2] = {7, 7};
    VORN_WVQE_Noise_Vad2_ASM(any, power, active[0], &voice[0], static_cast<Word16>(K));
    model::VORN_WVQE_Noise_Vad2_ASM(any, power, active[1], &voice[1], static_cast<Word16>(K));
    EXPECT_EQ(voice[0], voice[1]);
    EXPECT_EQ(std::memcmp(active[0], active[1], 256), 0) << "binActive of any operands";
    Word32 got[256];
    std::memcpy(got, any, sizeof any);
    const Word16 alpha = random.word16();
    VORN_WVQE_Noise_Vad3_ASM(power, any, active[0], alpha, static_cast<Word16>(K));
    model::VORN_WVQE_Noise_Vad3_ASM(power, got, active[0], alpha, static_cast<Word16>(K));
    expectSameArray(any, got, 256, "noisePsd");
    VORN_WVQE_Noise_Vad1_ASM(any, power, K);
    model::VORN_WVQE_Noise_Vad1_ASM(got, power, K);
    expectSameArray(any, got, 256, "psdSmooth");
    if (HasFailure()) FAIL() << "round " << round;
  }
}

TEST(Stages, SnrAndGainEqualTheModel) {
  Random random(23);
  for (int round = 0; round < 4000; ++round) {
    States s(random);
    const int K = 64 << (round % 3);
    const Bank b = bankOf(K);
    Word32 power[24];
    Word32 noise[24];
    const int quiet = round % 4 == 0 ? 24 : 0;  // few bits: the quotients' guards and reductions
    for (Word32& x : power) x = magnitude(random) >> quiet;
    for (Word32& x : noise) {
      x = random.below(8) == 0 ? 2147483647 - random.below(1000)
                               : magnitude(random) >> random.below(25);
    }
    Word16 post[2][24];
    Word16 prior[2][24];
    const auto frame = static_cast<Word16>(s.library.frameCountSat);
    WVQE_PostAndPriorSNR(post[0], prior[0], s.library.bandSnrState, power, noise, frame);
    model::WVQE_PostAndPriorSNR(post[1], prior[1], s.model.bandSnrState, power, noise, frame);
    expectSameArray(post[0], post[1], 24, "postSnr");
    expectSameArray(prior[0], prior[1], 24, "priorSnr");
    s.expectSame("SNR estimation");
    if (round % 2 == 0) {
      for (int i = 0; i < 24; ++i) {
        post[0][i] = static_cast<Word16>(random.below(25857) - 256);
        prior[0][i] = static_cast<Word16>(random.below(25601) >> random.below(14));
      }
    }
    Word16 gain[2][256];
    const auto nr = static_cast<unsigned char>(round % 50 == 0 ? 0 : 1);
    WVQE_Gain_Proc(&s.library, post[0], prior[0], noise, power, b.left, b.filterLeft, b.right,
                   b.filterRight, nr, static_cast<Word16>(K), gain[0]);
    model::WVQE_Gain_Proc(&s.model, post[0], prior[0], noise, power, b.left, b.filterLeft, b.right,
                          b.filterRight, nr, static_cast<Word16>(K), gain[1]);
    expectSameArray(gain[0], gain[1], static_cast<std::size_t>(K), "binGain");
    s.expectSame("suppression gain");
    if (HasFailure()) FAIL() << "round " << round;
  }
}

TEST(Stages, GainRoutinesEqualTheModel) {
  Random random(24);
  for (int round = 0; round < 4000; ++round) {
    Word16 smooth[2][24];
    Word16 prior[24];
    Word16 post[24];
    Word32 power[24];
    Word32 noise[24];
    Word32 speech[2][24];
    for (int i = 0; i < 24; ++i) {
      smooth[0][i] = smooth[1][i] = static_cast<Word16>(random.below(25601) >> random.below(15));
      prior[i] = static_cast<Word16>(random.below(25601) >> random.below(15));
      post[i] = static_cast<Word16>(random.below(25857) - 256);
      power[i] = magnitude(random);
      noise[i] = magnitude(random);
      speech[0][i] = speech[1][i] = magnitude(random);
    }
    Word32 sum[2];
    VORN_NR_Gain_Proc1_ASM(smooth[0], prior, &sum[0]);
    model::VORN_NR_Gain_Proc1_ASM(smooth[1], prior, &sum[1]);
    expectSameArray(smooth[0], smooth[1], 24, "bandSmooth");
    EXPECT_EQ(sum[0], sum[1]);
    Word16 gain[2][24];
    Word16 presence[2][24];
    const auto global = static_cast<Word16>(4024 + random.below(32734 - 4024 + 1));
    VORN_NR_Gain_Proc2_ASM(prior, power, gain[0], speech[0], post, smooth[0], presence[0], global);
    model::VORN_NR_Gain_Proc2_ASM(prior, power, gain[1], speech[1], post, smooth[1], presence[1],
                                  global);
    expectSameArray(gain[0], gain[1], 24, "gainH1");
    expectSameArray(speech[0], speech[1], 24, "bandSnrState");
    expectSameArray(presence[0], presence[1], 24, "speechProb");
    Word16 band[2][24];
    const auto floor = static_cast<Word16>(random.below(32768));
    VORN_NR_Gain_Proc3_ASM(noise, gain[0], presence[0], band[0], floor);
    model::VORN_NR_Gain_Proc3_ASM(noise, gain[1], presence[1], band[1], floor);
    expectSameArray(gain[0], gain[1], 24, "floored gainH1");
    expectSameArray(band[0], band[1], 24, "bandGain");
    if (HasFailure()) FAIL() << "round " << round;
  }
}

TEST(Stages, GainCurvesOverTheirDomains) {
  for (Word32 v = -3; v < 400000; ++v) {
    ASSERT_EQ(WVQE_Hypergeom_Gain(v), model::WVQE_Hypergeom_Gain(v)) << v;
  }
  for (Word32 x = -3; x < 70000; ++x) ASSERT_EQ(WVQE_Qcurve(x), model::WVQE_Qcurve(x)) << x;
  EXPECT_EQ(WVQE_Hypergeom_Gain(0), 2722432);
  EXPECT_EQ(WVQE_Hypergeom_Gain(20479), 33152);
  EXPECT_EQ(WVQE_Hypergeom_Gain(20480), 33191);
  EXPECT_EQ(WVQE_Qcurve(1), 831);
  EXPECT_EQ(WVQE_Qcurve(256), 28531);
  EXPECT_EQ(WVQE_Qcurve(25600), 32767);
}

// The floor follows a rising total at once, one decibel a frame, and a falling one beyond 3 dB.
TEST(Stages, FloorControllerHysteresis) {
  const auto depthsFor = [](Word16 start, Word32 total, int frames, Word32 more = 0) {
    ::WvqeState state{};
    state.floorLevel = start;
    Word32 noise[24] = {total, more};
    std::vector<int> depths;
    for (int i = 0; i < frames; ++i) {
      Word16 floorDb = 0;
      WVQE_Gain_Floor(noise, &floorDb, &state);
      EXPECT_EQ(floorDb, -state.floorLevel);
      depths.push_back(state.floorLevel);
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

TEST(Stages, BandSplitEqualsTheModel) {
  Random random(25);
  ::WvqeState state{};
  model::WvqeState want{};
  for (int round = 0; round < 60; ++round) {
    if (round % 10 == 9) {  // memories far beyond what the filters produce
      for (Word32* memory : {state.splitLpfY, state.splitHpfY, state.synLpfY}) {
        for (int i = 0; i < 10; ++i) memory[i] = random.word32();
      }
      std::memcpy(&want, &state, sizeof state);
    }
    const int len = round % 3 == 0 ? 160 : round % 3 == 1 ? 1 + random.below(160) : 200;
    std::vector<Word16> in(static_cast<std::size_t>(3 * len));
    const int bits = random.below(17);
    for (Word16& x : in)
      x = static_cast<Word16>(random.wordOf(31) >> (31 - bits + (bits == 16 ? 1 : 0)));
    std::vector<Word16> low[2];
    std::vector<Word16> high[2];
    std::vector<Word16> out[2];
    for (int i = 0; i < 2; ++i) {
      low[i].resize(static_cast<std::size_t>(len));
      high[i].resize(in.size());
      out[i].resize(in.size());
    }
    const auto n = static_cast<Word16>(len);
    AEC_Split_Ne(in.data(), low[0].data(), high[0].data(), n, state.splitLpfX, state.splitLpfY,
                 state.splitHpfX, state.splitHpfY);
    model::AEC_Split_Ne(in.data(), low[1].data(), high[1].data(), n, want.splitLpfX, want.splitLpfY,
                        want.splitHpfX, want.splitHpfY);
    ASSERT_EQ(low[0], low[1]);
    ASSERT_EQ(high[0], high[1]);
    if (len > 160) continue;
    std::copy(low[0].begin(), low[0].end(), out[0].begin());
    AEC_Syn_Ne(out[0].data(), high[0].data(), out[0].data(), n, state.synLpfX, state.synLpfY);
    model::AEC_Syn_Ne(low[1].data(), high[1].data(), out[1].data(), n, want.synLpfX, want.synLpfY);
    ASSERT_EQ(out[0], out[1]);
    ASSERT_EQ(std::memcmp(&state, &want, sizeof state), 0) << "memories";
  }
}

TEST(Stages, OutputFilterEqualsTheModel) {
  Random random(26);
  for (int round = 0; round < 1000; ++round) {
    const Geometry g = kGeometry[round % 3];
    States s(random);
    Word32 time[2][512];
    random.fill(time[0], 512, 16 + random.below(16));
    if (round % 4 == 1) {  // what saturates comes after a quiet beginning
      random.fill(time[0], 80, 20);
      std::fill_n(s.library.olaBuffer, 192, 0);
      std::fill_n(s.model.olaBuffer, 192, 0);
    }
    std::memcpy(time[1], time[0], sizeof time[0]);
    Word16 out[2][320];
    VORN_WVQE_MainProcess_ASM(s.library.olaBuffer, time[0], &s.library.deemphMem, out[0], g.frame,
                              g.bins);
    model::VORN_WVQE_MainProcess_ASM(s.model.olaBuffer, time[1], &s.model.deemphMem, out[1],
                                     g.frame, g.bins);
    expectSameArray(out[0], out[1], static_cast<std::size_t>(g.frame), "out");
    expectSameArray(time[0], time[1], 512, "sums");
    s.expectSame("output filter");
    if (HasFailure()) FAIL() << "round " << round;
  }
}

// Frames of very different levels, one after the other: also where the history has no headroom at
// the scale of the new frame.
TEST(Stages, SuppressionEqualsTheModel) {
  Random random(28);
  for (int round = 0; round < 400; ++round) {
    States s(random);
    if (round % 8 == 0) s.library.frameCountSat = s.model.frameCountSat = 32764 + round / 8 % 4;
    for (int frame = 0; frame < 4; ++frame) {
      Word16 in[480];
      const int shift = random.below(2) == 0 ? 0 : random.below(17);
      for (Word16& x : in) x = static_cast<Word16>(random.wordOf(15) >> shift);
      if (random.below(4) == 0) std::fill(in, in + 480, random.word16());
      const auto rate = static_cast<uint8_t>(round % 4);
      const VornConfig cfg = {nullptr, 0, 0, rate, 1, 0, 4};
      const model::VornConfig same = {nullptr, 0, 0, rate, 1, 0, 4};
      Word16 out[2][480] = {};
      WVQE_NR_Proc(in, out[0], &cfg, &s.library);
      model::WVQE_NR_Proc(in, out[1], &same, &s.model);
      expectSameArray(out[0], out[1], 480, "frame");
      s.expectSame("suppression");
    }
    if (HasFailure()) FAIL() << "round " << round;
  }
}

TEST(Stages, AgcEqualsTheModel) {
  Random random(27);
  for (int round = 0; round < 4000; ++round) {
    States s(random);
    const bool silent = round % 16 == 0;  // no level at all: the largest headroom
    if (silent) s.library.agcEnvFast = s.library.agcEnvSlow = 0;
    if (round % 7 == 0) s.library.vadFlag = static_cast<Word16>(random.below(5) - 2);
    std::memcpy(&s.model, &s.library, sizeof s.library);
    const auto rate = static_cast<Word16>(round % 6 - 1);  // -1 and 4: refused, nothing written
    Word16 x[480] = {};
    const int shift = random.below(16);
    for (Word16& sample : x) sample = silent ? 0 : static_cast<Word16>(random.wordOf(15) >> shift);
    if (shift == 0 && !silent) x[random.below(80)] = -32768;
    const Word32* table = round % 2 == 0 ? WVQE_AGC_GAIN_TABLE_5_9 : WVQE_AGC_GAIN_TABLE_15_9;
    Word32 wide[32];
    if (round % 5 == 0) {
      random.fill(wide, 32, 27);
      table = wide;
    }
    Word16 y[2][480] = {};
    VED_AGC_Process(&s.library, x, table, rate, y[0]);
    model::VED_AGC_Process(&s.model, x, table, rate, y[1]);
    expectSameArray(y[0], y[1], 480, "levelled frame");
    s.expectSame("levelling");
    if (HasFailure()) FAIL() << "round " << round;
  }
  expectSameFunction("AGC_norm_l", ::AGC_norm_l, model::AGC_norm_l);
}

// The gain rises on the 201st quieter voice frame, a louder one in between restarts the count, and
// it falls at once.
TEST(Stages, AgcTiming) {
  ::WvqeState state{};
  VQE_Init(&state);
  const auto run = [&](Word16 level, int voice, int frames) {
    for (int i = 0; i < frames; ++i) {
      Word16 x[80];
      for (int n = 0; n < 80; ++n) x[n] = n % 2 == 0 ? level : static_cast<Word16>(-level);
      Word16 y[80];
      state.vadFlag = static_cast<Word16>(voice);
      VED_AGC_Process(&state, x, WVQE_AGC_GAIN_TABLE_15_9, 0, y);
    }
    return state.agcGainIdx;
  };
  EXPECT_EQ(run(32767, 0, 1), 10);
  EXPECT_EQ(run(32767, 1, 1), 2);
  state.agcEnvFast = state.agcEnvSlow = 1000000;  // headroom 12
  EXPECT_EQ(run(500, 1, 200), 2);
  EXPECT_EQ(state.agcUpCount, 200);
  EXPECT_EQ(run(500, 0, 50), 2) << "frames without voice do not count";
  EXPECT_GT(run(500, 1, 1), 2);
  state.agcUpCount = 150;
  run(32767, 1, 1);
  EXPECT_EQ(state.agcUpCount, 0);
}

}  // namespace
}  // namespace arvessa::test
