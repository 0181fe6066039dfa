// Reference model of the front end: the caller's two entry points over beamformer and engine. The
// beam weights come from the caller, so that the model does not repeat them.
#pragma once

#include "model_beamformer.h"
#include "model_state.h"

namespace model {

int Arvessa_Init(ArvessaConfig* cfg);
int Arvessa(const Word16* in, Word16* out, ArvessaConfig* cfg, BeamWeights weights);

}  // namespace model
