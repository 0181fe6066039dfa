#include "engine/engine_init.h"

#include <algorithm>
#include <iterator>

extern "C" {

Word16 VORN_Init(VornConfig* cfg) {
  if (cfg == nullptr || !arvessa::isStatePointer(cfg->pState)) return -1;
  if (cfg->checkValue != VORN_CHECK_VALUE || cfg->stateSize < VORN_STATE_BYTES) return -2;
  return VQE_Init(static_cast<WvqeState*>(cfg->pState)) == 0 ? Word16{0} : Word16{-1};
}

Word16 VQE_Init(WvqeState* state) {
  // Every field, but no byte beyond them.
  *state = WvqeState{};
  std::fill(std::begin(state->noisePsd), std::end(state->noisePsd), 128);  // one power unit
  std::fill(std::begin(state->bandSnrState), std::end(state->bandSnrState), 1);
  state->floorLevel = 7;
  state->agcEnvFast = 100000000;
  state->agcEnvSlow = 100000000;
  state->agcGainIdx = 10;
  return 0;
}

Word16 VORN_GetVer(void) { return 103; }

}  // extern "C"
