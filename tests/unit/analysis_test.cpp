// SPDX-License-Identifier: Apache-2.0
// Analysis, filterbank and output filter against the reference on random frames and states, far from
// the usual operating point included.

#include "unit/stages.h"

namespace arvessa::test {
namespace {

constexpr Word32 kMin = -2147483647 - 1;

TEST(Analysis, EqualsTheReference) {
  Random random(20);
  for (int round = 0; round < 600; ++round) {
    SCOPED_TRACE(round);
    States s(random);
    const auto rateCode = static_cast<Word16>(round % 4);
    const Geometry g = geometryOf(kRates[rateCode].sizeCode);
    const Bank b = bankOf(g.bins);
    Both<Word32, 320> in;
    Both<Word32, 256> power;
    Both<Word32, 24> band;
    Both<Word32, 512> time, spectrum, work;
    const int bits = random.below(32);
    in.set([&] { return random.wordOf(bits); });
    const auto analyse = [&](auto function, auto array, auto* state) {
      function(array(in), array(power), array(band), array(time), array(spectrum), array(work),
               nullptr, nullptr, nullptr, b.left, b.filterLeft, b.right, b.filterRight, g.frame,
               g.bins, g.history, rateCode, state);
    };
    analyse(
        WVQE_Analysis, [](auto& both) { return both.library; }, &s.library);
    analyse(
        reference::WVQE_Analysis, [](auto& both) { return both.wanted; }, &s.wanted);
    in.expectSame("inWork");
    spectrum.expectSame("spectrum", 2 * g.bins);
    work.expectSame("specWork", 2 * g.bins);
    power.expectSame("powerSpec", g.bins);
    band.expectSame("bandPower");
    s.expectSame("analysis");
    if (HasFailure()) return;
  }
}

TEST(Analysis, PowersAndBlocksWithoutHeadroomEqualTheReference) {
  Random random(29);
  for (int round = 0; round < 600; ++round) {
    SCOPED_TRACE(round);
    States s(random);
    const auto sizeCode = static_cast<Word16>(round % 3);
    const int bins = geometryOf(sizeCode).bins;
    Word32 words[512];
    random.fill(words, 512, 31);
    words[6] = kMin;  // a power of exactly 2^31
    words[7] = 0;
    Both<Word32, 256> power;
    VORN_WVQE_Analysis2_ASM(words, power.library, sizeCode);
    reference::VORN_WVQE_Analysis2_ASM(words, power.wanted, sizeCode);
    power.expectSame("power", bins);
    Both<Word32, 512> time;
    const Word16 d = random.from(-40, 39);
    VORN_WVQE_Analysis1_ASM(time.library, words, s.library.noiseReduction.anaHistory, d,
                            &s.library.noiseReduction.anaMem, sizeCode);
    reference::VORN_WVQE_Analysis1_ASM(time.wanted, words, s.wanted.anaHistory, d, &s.wanted.anaMem,
                                       sizeCode);
    time.expectSame("block", 2 * bins);
    s.expectSame("framing");
    if (HasFailure()) return;
  }
}

TEST(Filterbank, BandsEqualTheReference) {
  Random random(21);
  for (const char* kind : {"magnitudes", "any words", "last bin without headroom"}) {
    for (int round = 0; round < 200; ++round) {
      SCOPED_TRACE(testing::Message() << kind << ' ' << round);
      const int bins = 64 << (round % 3);
      const Bank b = bankOf(bins);
      const Word16 K = random.from(bins - 15, bins);
      Word32 power[256];
      for (Word32& x : power) x = kind[0] == 'a' ? random.word32() : random.anyMagnitude();
      if (kind[0] == 'l') power[K - 1] = 2147483647;
      Both<Word32, 24> bands;
      WVQE_Spectrum_Bank(power, bands.library, b.left, b.right, b.filterLeft, b.filterRight, K);
      reference::WVQE_Spectrum_Bank(power, bands.wanted, b.left, b.right, b.filterLeft,
                                    b.filterRight, K);
      bands.expectSame("bands");
      if (HasFailure()) return;
    }
  }
}

// With weights of the filterbank, and with any: sums beyond 1, products of -1 and -1.
TEST(Filterbank, BinsEqualTheReference) {
  Random random(19);
  const auto any = [&] { return random.below(4) == 0 ? Word16{-32768} : random.word16(); };
  for (const bool anyWeights : {false, true}) {
    for (int round = 0; round < 300; ++round) {
      SCOPED_TRACE(testing::Message() << anyWeights << ' ' << round);
      const int bins = 64 << (round % 3);
      const Bank b = bankOf(bins);
      const Word16 K = random.from(bins - 15, bins);
      Word16 values[24];
      Word16 weights[2][256];
      for (Word16& x : values) x = any();
      for (auto& side : weights) std::generate(side, side + 256, any);
      const Word16* left = anyWeights ? weights[0] : b.filterLeft;
      const Word16* right = anyWeights ? weights[1] : b.filterRight;
      Both<Word16, 256> out;
      WVQE_Spectrum_PSD(out.library, left, right, b.left, b.right, values, K);
      reference::WVQE_Spectrum_PSD(out.wanted, left, right, b.left, b.right, values, K);
      out.expectSame("bins", K);
      if (HasFailure()) return;
    }
  }
}

TEST(OutputFilter, EqualsTheReference) {
  Random random(26);
  for (const bool quietBeginning : {false, true}) {  // what saturates comes later
    for (int round = 0; round < 500; ++round) {
      SCOPED_TRACE(testing::Message() << quietBeginning << ' ' << round);
      const Geometry g = geometryOf(round % 3);
      States s(random);
      Both<Word32, 512> time;
      const int bits = 16 + random.below(16);
      int n = 0;
      time.set([&] { return random.wordOf(quietBeginning && n++ < 80 ? 20 : bits); });
      if (quietBeginning) {
        std::fill_n(s.library.noiseReduction.olaBuffer, 192, 0);
        s.copy();
      }
      Both<Word16, 320> out;
      VORN_WVQE_MainProcess_ASM(s.library.noiseReduction.olaBuffer, time.library,
                                &s.library.noiseReduction.deemphMem, out.library, g.frame, g.bins);
      reference::VORN_WVQE_MainProcess_ASM(s.wanted.olaBuffer, time.wanted, &s.wanted.deemphMem,
                                           out.wanted, g.frame, g.bins);
      out.expectSame("out", g.frame);
      time.expectSame("sums");
      s.expectSame("output filter");
      if (HasFailure()) return;
    }
  }
}

}  // namespace
}  // namespace arvessa::test
