// The beamformer: bit for bit against the model, its decisions, and its limits.
#include <cmath>
#include <memory>

#include "beamformer/beam_weights_tables.h"
#include "beamformer/mvdr_beamformer.h"
#include "model_beamformer.h"
#include "support.h"

namespace arvessa::test {
namespace {

const model::BeamWeights kWeights{MVDR_CONST_W_UP_OPT_REAL_TABLE,
                                  MVDR_CONST_W_UP_OPT_IMAGINARY_TABLE};

TEST(Beamformer, EqualsTheModel) {
  Random random(30);
  ArvessaState library{};
  model::ArvessaState model{};
  for (int round = 0; round < 2000; ++round) {
    Word16 frame[256];
    const int shift = random.below(16);
    for (Word16& x : frame) x = static_cast<Word16>(random.wordOf(15) >> shift);
    if (round % 20 == 0) std::fill(frame, frame + 256, 32767);
    if (round % 20 == 1) std::fill(frame, frame + 256, -32768);
    library.frameCount = model.frameCount = static_cast<std::uint32_t>(round);
    Word16 got[80];
    Word16 want[80];
    MVDR_BeamForming(frame, got, &library);
    model::MVDR_BeamForming(frame, want, &model, kWeights);
    expectSameArray(got, want, 80, "out");
    expectSameArray(library.beamOverlap, model.beamOverlap, 24, "beamOverlap");
    expectSameArray(library.beamEnergy, model.beamEnergy, 3, "beamEnergy");
    EXPECT_EQ(library.beamSelected, model.beamSelected);
    EXPECT_EQ(library.beamPending, model.beamPending);
    EXPECT_EQ(library.beamConfirm, model.beamConfirm);
    for (const Word16 sample : got) EXPECT_GT(sample, -32768);
    if (HasFailure()) FAIL() << "round " << round;
  }
}

// Lets a beam win the decision at a frame count, by its energy alone, and returns the selection.
class Decisions : public testing::Test {
 protected:
  int decide(std::uint32_t count, int winner) {
    state_.frameCount = count;
    for (int beam = 0; beam < 3; ++beam) state_.beamEnergy[beam] = beam == winner ? 1.0F : 0.0F;
    const Word16 silence[256] = {};
    Word16 out[80];
    MVDR_BeamForming(silence, out, &state_);
    for (const float energy : state_.beamEnergy) EXPECT_EQ(energy, 0.0F);
    return state_.beamSelected;
  }
  ArvessaState state_{};
};

TEST_F(Decisions, ImmediateInTheFirst64FramesThenConfirmed) {
  EXPECT_EQ(decide(15, 1), 1);
  EXPECT_EQ(decide(31, 2), 2);
  EXPECT_EQ(decide(63, 1), 1);
  EXPECT_EQ(state_.beamPending, 0) << "untouched so far";
  EXPECT_EQ(decide(79, 0), 0) << "beam 0 has been pending since the start";
  EXPECT_EQ(decide(95, 1), 0);
  EXPECT_EQ(decide(111, 2), 0) << "alternating winners never replace a beam";
  EXPECT_EQ(decide(127, 1), 0);
  EXPECT_EQ(decide(143, 1), 1) << "two wins in a row do";
  EXPECT_EQ(decide(0x8000000FU, 2), 2) << "a negative count counts as early";
}

TEST_F(Decisions, ConfirmationCountOfAnyState) {
  for (const int confirm : {-3, 0, 1, 2, 5}) {
    for (int winner = 0; winner < 3; ++winner) {
      model::ArvessaState model{};
      state_.beamSelected = model.beamSelected = 1;
      state_.beamPending = model.beamPending = 2;
      state_.beamConfirm = model.beamConfirm = static_cast<Word16>(confirm);
      model.frameCount = 79;
      model.beamEnergy[winner] = 1.0F;
      const Word16 silence[256] = {};
      Word16 out[80];
      model::MVDR_BeamForming(silence, out, &model, kWeights);
      EXPECT_EQ(decide(79, winner), model.beamSelected);
      EXPECT_EQ(state_.beamPending, model.beamPending);
      EXPECT_EQ(state_.beamConfirm, model.beamConfirm);
    }
  }
}

TEST_F(Decisions, TieGoesToTheLowerIndex) {
  state_.beamSelected = 2;
  EXPECT_EQ(decide(15, 3), 0) << "all three equal";
  state_.frameCount = 31;
  for (float& energy : state_.beamEnergy) energy = 1.0F;
  state_.beamEnergy[0] = 0.5F;
  const Word16 silence[256] = {};
  Word16 out[80];
  MVDR_BeamForming(silence, out, &state_);
  EXPECT_EQ(state_.beamSelected, 1);
}

// Truncation toward zero, and a symmetric limit.
TEST(Beamformer, ConvertsByTruncation) {
  ArvessaState state{};
  const float overlap[9] = {32767.9F, -32767.9F, -32767.0F, 0.99F,        -0.99F,
                            1e9F,     -1e9F,     -1.5F,     std::nanf("")};
  const Word16 want[9] = {32767, -32767, -32767, 0, 0, 32767, -32767, -1, 32767};
  std::copy(overlap, overlap + 9, state.beamOverlap);
  const Word16 silence[256] = {};
  Word16 out[80];
  MVDR_BeamForming(silence, out, &state);
  expectSameArray(out, want, 9, "out");
}

}  // namespace
}  // namespace arvessa::test
