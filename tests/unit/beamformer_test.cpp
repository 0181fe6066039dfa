// SPDX-License-Identifier: Apache-2.0
// The beamformer: bit for bit against the reference, its decisions, and its limits.
#include "reference/beamformer.h"

#include <cmath>

#include "abi/exported_beamformer.h"
#include "abi/work_buffer.h"
#include "support/side_by_side.h"

namespace arvessa::test {
namespace {

struct Beams {
  ::ArvessaState library{};
  reference::ArvessaState wanted{};
};
::ArvessaState* ofLibrary(Beams& beams) { return &beams.library; }
reference::ArvessaState* ofReference(Beams& beams) { return &beams.wanted; }
void expectSameContent(Beams& beams) {
  const BeamformerState& got = beams.library.beamformer;
  expectSameArray(got.beamOverlap, beams.wanted.beamOverlap, "beamOverlap");
  expectSameArray(got.beamEnergy, beams.wanted.beamEnergy, "beamEnergy");
  EXPECT_EQ(got.beamSelected, beams.wanted.beamSelected);
  EXPECT_EQ(got.beamPending, beams.wanted.beamPending);
  EXPECT_EQ(got.beamConfirm, beams.wanted.beamConfirm);
}

// Half of the decisions are made from any selection and confirmation count, for any winner.
TEST(Beamformer, EqualsTheReference) {
  enum Kind { kNoise, kQuietNoise, kHighest, kLowest };
  Random random(30);
  Beams beams;
  BeamformerState& got = beams.library.beamformer;
  reference::ArvessaState& want = beams.wanted;
  forEach({0, 1}, 3000, [&](int /*half*/) {
    const Kind kinds[] = {kNoise, kNoise, kQuietNoise, kQuietNoise, kHighest, kLowest};
    const Kind kind = kinds[random.below(6)];
    const int shift = kind == kQuietNoise ? random.below(16) : 0;
    Both<Word16> frame(256, [&] {
      return kind == kHighest ? 32767 : kind == kLowest ? -32768 : random.wordOf(15) >> shift;
    });
    if (got.frameCount % 16 == 15 && random.below(2) == 0) {
      got.beamSelected = want.beamSelected = random.from(0, 2);
      got.beamPending = want.beamPending = random.from(0, 2);
      got.beamConfirm = want.beamConfirm = random.from(-3, 5);
      const int winner = random.below(3);
      got.beamEnergy[winner] = want.beamEnergy[winner] = 1e12F;
    }
    EXPECT_SAME(MVDR_BeamForming, frame, Both<Word16>(80), beams);
    want.frameCount = ++got.frameCount;
  });
}

const Word16 kSilence[256] = {};

// The selection after a decision at a frame count by given energies alone.
int decide(ArvessaState& state, std::uint32_t count, const std::array<float, 3>& energies) {
  state.beamformer.frameCount = count;
  std::copy(energies.begin(), energies.end(), state.beamformer.beamEnergy);
  Word16 out[80];
  MVDR_BeamForming(kSilence, out, &state);
  EXPECT_EQ(std::count(state.beamformer.beamEnergy, state.beamformer.beamEnergy + 3, 0.0F), 3);
  return state.beamformer.beamSelected;
}

TEST(Decisions, ImmediateInTheFirst64FramesThenConfirmed) {
  constexpr std::array<float, 3> kWins[] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  ArvessaState state{};
  EXPECT_EQ(decide(state, 15, kWins[1]), 1);
  EXPECT_EQ(decide(state, 31, kWins[2]), 2);
  EXPECT_EQ(decide(state, 63, kWins[1]), 1);
  EXPECT_EQ(state.beamformer.beamPending, 0) << "untouched so far";
  EXPECT_EQ(decide(state, 79, kWins[0]), 0) << "beam 0 has been pending since the start";
  EXPECT_EQ(decide(state, 95, kWins[1]), 0);
  EXPECT_EQ(decide(state, 111, kWins[2]), 0) << "alternating winners never replace a beam";
  EXPECT_EQ(decide(state, 127, kWins[1]), 0);
  EXPECT_EQ(decide(state, 143, kWins[1]), 1) << "two wins in a row do";
  EXPECT_EQ(decide(state, 0x8000000FU, kWins[2]), 2) << "a negative count counts as early";
  EXPECT_EQ(decide(state, 15, {1, 1, 1}), 0) << "a tie goes to the lower index";
  EXPECT_EQ(decide(state, 31, {0.5F, 1, 1}), 1);
}

// Truncation toward zero, and a symmetric limit.
TEST(Beamformer, ConvertsByTruncation) {
  ArvessaState state{};
  const float overlap[9] = {32767.9F, -32767.9F, -32767.0F, 0.99F,        -0.99F,
                            1e9F,     -1e9F,     -1.5F,     std::nanf("")};
  const Word16 want[9] = {32767, -32767, -32767, 0, 0, 32767, -32767, -1, 32767};
  std::copy(overlap, overlap + 9, state.beamformer.beamOverlap);
  Word16 out[80];
  MVDR_BeamForming(kSilence, out, &state);
  expectSameArray(out, want, 9, "out");
}

}  // namespace
}  // namespace arvessa::test
