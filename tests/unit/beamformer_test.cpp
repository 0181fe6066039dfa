// SPDX-License-Identifier: Apache-2.0
// The beamformer: bit for bit against the reference, its decisions, and its limits.
#include "reference/beamformer.h"

#include <algorithm>
#include <cmath>

#include "abi/exported_beamformer.h"
#include "abi/work_buffer.h"
#include "support/support.h"

namespace arvessa::test {
namespace {

void expectSameBeams(const BeamformerState& got, const reference::ArvessaState& want) {
  expectSameArray(got.beamOverlap, want.beamOverlap, "beamOverlap");
  expectSameArray(got.beamEnergy, want.beamEnergy, "beamEnergy");
  EXPECT_EQ(got.beamSelected, want.beamSelected);
  EXPECT_EQ(got.beamPending, want.beamPending);
  EXPECT_EQ(got.beamConfirm, want.beamConfirm);
}

TEST(Beamformer, EqualsTheReference) {
  enum Kind { kNoise, kQuietNoise, kHighest, kLowest };
  Random random(30);
  ArvessaState state{};
  reference::ArvessaState wanted{};
  for (; state.beamformer.frameCount < 2000; ++state.beamformer.frameCount) {
    wanted.frameCount = state.beamformer.frameCount;
    SCOPED_TRACE(state.beamformer.frameCount);
    const Kind kinds[] = {kNoise, kNoise, kQuietNoise, kQuietNoise, kHighest, kLowest};
    const Kind kind = kinds[random.below(6)];
    const int shift = kind == kQuietNoise ? random.below(16) : 0;
    Word16 frame[256];
    for (Word16& x : frame) {
      x = kind == kHighest ? 32767 : kind == kLowest ? -32768 : random.wordOf(15) >> shift;
    }
    Word16 got[80], want[80];
    MVDR_BeamForming(frame, got, &state);
    reference::MVDR_BeamForming(frame, want, &wanted);
    expectSameArray(got, want, "out");
    expectSameBeams(state.beamformer, wanted);
    if (HasFailure()) return;
  }
}

const Word16 kSilence[256] = {};

// A decision at a frame count by given energies alone, or by one beam's; returns the selection.
class Decisions : public testing::Test {
 protected:
  int decide(std::uint32_t count, const std::array<float, 3>& energies) {
    state_.beamformer.frameCount = count;
    std::copy(energies.begin(), energies.end(), state_.beamformer.beamEnergy);
    Word16 out[80];
    MVDR_BeamForming(kSilence, out, &state_);
    EXPECT_EQ(std::count(state_.beamformer.beamEnergy, state_.beamformer.beamEnergy + 3, 0.0F), 3);
    return state_.beamformer.beamSelected;
  }
  int decide(std::uint32_t count, int winner) {
    std::array<float, 3> energies{};
    energies[static_cast<std::size_t>(winner)] = 1.0F;
    return decide(count, energies);
  }
  ArvessaState state_{};
};

TEST_F(Decisions, ImmediateInTheFirst64FramesThenConfirmed) {
  EXPECT_EQ(decide(15, 1), 1);
  EXPECT_EQ(decide(31, 2), 2);
  EXPECT_EQ(decide(63, 1), 1);
  EXPECT_EQ(state_.beamformer.beamPending, 0) << "untouched so far";
  EXPECT_EQ(decide(79, 0), 0) << "beam 0 has been pending since the start";
  EXPECT_EQ(decide(95, 1), 0);
  EXPECT_EQ(decide(111, 2), 0) << "alternating winners never replace a beam";
  EXPECT_EQ(decide(127, 1), 0);
  EXPECT_EQ(decide(143, 1), 1) << "two wins in a row do";
  EXPECT_EQ(decide(0x8000000FU, 2), 2) << "a negative count counts as early";
}

TEST_F(Decisions, EqualTheReferenceWithAnyConfirmationCount) {
  for (const int confirm : {-3, 0, 1, 2, 5}) {
    for (int winner = 0; winner < 3; ++winner) {
      reference::ArvessaState wanted{};
      state_.beamformer.beamSelected = wanted.beamSelected = 1;
      state_.beamformer.beamPending = wanted.beamPending = 2;
      state_.beamformer.beamConfirm = wanted.beamConfirm = static_cast<Word16>(confirm);
      wanted.frameCount = 79;
      wanted.beamEnergy[winner] = 1.0F;
      Word16 out[80];
      reference::MVDR_BeamForming(kSilence, out, &wanted);
      decide(79, winner);
      expectSameBeams(state_.beamformer, wanted);
    }
  }
}

TEST_F(Decisions, TieGoesToTheLowerIndex) {
  state_.beamformer.beamSelected = 2;
  EXPECT_EQ(decide(15, {1, 1, 1}), 0);
  EXPECT_EQ(decide(31, {0.5F, 1, 1}), 1);
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
