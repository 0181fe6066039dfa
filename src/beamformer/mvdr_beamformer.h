// SPDX-License-Identifier: Apache-2.0
#pragma once
// Two-microphone MVDR beamformer with three fixed beams (Capon 1969; docs/beam_design.md).

#include <cstdint>
#include <span>

#include "ArvessaTypes.h"
#include "beamformer/beam_weights_tables.h"
#include "kernels/float_kernels.h"

namespace arvessa {

inline constexpr int kMicrophones = 2;
inline constexpr int kBeams = kernels::kFormedBeams;
inline constexpr int kBeamFrame = 80;    // samples of 10 ms at 8 kHz
inline constexpr int kBeamHistory = 24;  // samples by which consecutive blocks overlap
inline constexpr int kBeamBlock = 128;   // history, new samples, and as many zeros as history

struct BeamformerState {
  Word16 mic1History[kBeamHistory];  // last samples of the previous frame, Q15
  Word16 mic2History[kBeamHistory];
  float beamOverlap[kBeamHistory];  // tail of the last block, added to the next frame
  float beamEnergy[kBeams];         // of each beam's output since the last decision
  std::uint32_t frameCount;         // frames completed; wraps
  Word16 beamSelected;              // beam that produces the output, 0..2
  Word16 beamPending;               // latest winner from the fifth decision on, 0..2
  Word16 beamConfirm;               // its wins in a row; back to 1 once it is selected
};

// Of three beams, in the order of the stored ones (beam_weights_tables.h).
using kernels::BeamWeights;
inline BeamWeights storedBeams() {
  return {MVDR_CONST_W_UP_OPT_REAL_TABLE, MVDR_CONST_W_UP_OPT_IMAGINARY_TABLE};
}

void initialise(BeamformerState& state);

// The blocks of both microphones, one after the other, from 80 new samples of each; the histories
// move on.
void buildBlocks(std::span<const Word16, kMicrophones * kBeamFrame> samples, BeamformerState& state,
                 std::span<Word16, kMicrophones * kBeamBlock> blocks);

// One frame at 8 kHz from two blocks: 80 samples of Q15, in -32767..32767, lagging the input by 24.
// Reads frameCount, updates overlap, energies and the choice.
//
// Every 16th frame the beam with the largest output energy between 1000 Hz and 3937.5 Hz is chosen,
// at once in the first 64 frames, then only when it wins twice in a row. At the fifth decision, the
// first of those, beam 0 counts as the winner of the one before: if it wins, it is chosen at once.
void formBeam(std::span<const Word16, kMicrophones * kBeamBlock> blocks, BeamWeights weights,
              BeamformerState& state, std::span<Word16, kBeamFrame> out);

}  // namespace arvessa
