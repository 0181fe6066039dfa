// SPDX-License-Identifier: Apache-2.0
#pragma once
// A frame through the front end, checks included: beamformer, then the engine when it is switched
// on.

#include <cstring>

#include "Arvessa.h"
#include "abi/engine_frame.h"
#include "abi/work_buffer.h"

namespace arvessa {

inline constexpr std::uint8_t kFrontEndGainTable = 4;  // up to 18.4 dB

// As Arvessa, with beams of one's own; an observer sees the stages of the engine's noise reduction.
template <class Observer>
intptr_t frontEndFrame(const Word16* in, Word16* out, const ArvessaConfig* cfg, BeamWeights beams,
                       Observer& observe) {
  if (in == nullptr || out == nullptr || cfg == nullptr || cfg->pWork == nullptr ||
      !isAligned(cfg->pWork) || !isAligned(in) || !isAligned(out)) {
    return -1;
  }
  auto& state = *static_cast<ArvessaState*>(cfg->pWork);
  constexpr std::size_t kSamples = kMicrophones * kBeamFrame;
  Word16 blocks[kMicrophones * kBeamBlock];
  buildBlocks(std::span<const Word16, kSamples>(in, kSamples), state.beamformer, blocks);
  formBeam(blocks, beams, state.beamformer, std::span<Word16, kBeamFrame>(out, kBeamFrame));
  if (cfg->engineEnable == 1) {
    // A record that names another state is damaged, or was never prepared.
    const VornConfig* const engine = vornConfigIn(&state);
    if (engine->pState != &state) return -1;
    alignas(ARVESSA_WORK_ALIGNMENT) Word16 result[kBeamFrame];
    Word16 length = kBeamFrame;
    const Word16 status = engineFrame(out, kBeamFrame, result, &length, engine, observe);
    if (status != 0) return status;
    std::memcpy(out, result, sizeof result);
  }
  ++state.beamformer.frameCount;
  return 0;
}

}  // namespace arvessa
