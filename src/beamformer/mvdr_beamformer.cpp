// SPDX-License-Identifier: Apache-2.0
#include "beamformer/mvdr_beamformer.h"

#include <cstring>

#include "beamformer/window_table.h"
#include "kernels/beam_frame.h"

namespace arvessa {
namespace {

static_assert(kBeamBlock == kernels::kFloatBlock && kBeamFrame == kernels::kFloatFrame);
static_assert(kBeamHistory == kernels::kFlank);
constexpr std::uint32_t kDecisionPeriod = 16;     // frames
constexpr std::int32_t kLastImmediateCount = 63;  // the first four decisions take effect at once

Word16 loudestBeam(const float* beamEnergy) {
  Word16 best = 0;
  for (Word16 beam = 1; beam < kBeams; ++beam) {
    if (beamEnergy[best] < beamEnergy[beam]) best = beam;
  }
  return best;
}

void decideBeam(BeamformerState& state) {
  const Word16 best = loudestBeam(state.beamEnergy);
  if (static_cast<std::int32_t>(state.frameCount) <= kLastImmediateCount) {
    state.beamSelected = best;
    state.beamConfirm = 1;
  } else {
    if (best == state.beamSelected) {
      if (state.beamConfirm > 1) state.beamConfirm = 1;
    } else if (best == state.beamPending) {
      state.beamConfirm = static_cast<Word16>(state.beamConfirm + 1);
      if (state.beamConfirm > 1) {
        state.beamSelected = best;
        state.beamConfirm = 1;
      }
    } else {
      state.beamConfirm = 1;
    }
    state.beamPending = best;
  }
  for (float& sum : state.beamEnergy) sum = 0.0F;
}

// One microphone's block: history, the new samples, zeros. Then the new history.
void buildBlock(const Word16* samples, Word16* history, Word16* block) {
  constexpr std::size_t kHistoryBytes = kBeamHistory * sizeof(Word16);
  std::memcpy(block, history, kHistoryBytes);
  std::memcpy(block + kBeamHistory, samples, kBeamFrame * sizeof(Word16));
  std::memset(block + kBeamHistory + kBeamFrame, 0, kHistoryBytes);
  std::memcpy(history, samples + kBeamFrame - kBeamHistory, kHistoryBytes);
}

}  // namespace

void initialise(BeamformerState& state) {
  std::memset(&state, 0, sizeof state);
  state.beamConfirm = 1;
}

void buildBlocks(std::span<const Word16, kMicrophones * kBeamFrame> samples, BeamformerState& state,
                 std::span<Word16, kMicrophones * kBeamBlock> blocks) {
  buildBlock(samples.data(), state.mic1History, blocks.data());
  buildBlock(samples.data() + kBeamFrame, state.mic2History, blocks.data() + kBeamBlock);
}

void formBeam(std::span<const Word16, kMicrophones * kBeamBlock> blocks, BeamWeights weights,
              BeamformerState& state, std::span<Word16, kBeamFrame> out) {
  const bool outerConjugate =
      weights.re == storedBeams().re && weights.im == storedBeams().im && outerBeamsAreConjugate();
  const kernels::FrameInput input = {blocks, MVDR_CONST_TABLE_fWIN_8k, weights, outerConjugate};
  kernels::ActiveFrame frame;
  frame.formBeams(input, state.beamEnergy);
  if (state.frameCount % kDecisionPeriod == kDecisionPeriod - 1) decideBeam(state);
  // The caller's memory may be damaged: what is no beam counts as beam 0.
  const auto beam = static_cast<std::uint16_t>(state.beamSelected);
  frame.output(input, beam < kBeams ? beam : 0, state.beamOverlap, out);
}

}  // namespace arvessa
