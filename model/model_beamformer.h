// Reference model of the two-microphone beamformer: three fixed sets of weights, the most energetic
// of which produces the output. Every float operation is rounded on its own.
#pragma once

#include "model_state.h"

namespace model {

// Weights of beam s, bin k and microphone m at index s * 128 + 2 * k + m; 384 floats each.
struct BeamWeights {
  const float* re;
  const float* im;
};

void MVDR_BeamForming(const Word16* frame, Word16* out, ArvessaState* work, BeamWeights weights);

}  // namespace model
