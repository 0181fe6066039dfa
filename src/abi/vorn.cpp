// SPDX-License-Identifier: Apache-2.0
#include "Vorn.h"

#include "abi/engine_frame.h"
#include "abi/exported_stages.h"

extern "C" {

Word16 VORN_Init(VornConfig* cfg) {
  using namespace arvessa;
  if (cfg == nullptr || cfg->pState == nullptr || !isAligned(cfg->pState)) return -1;
  if (cfg->checkValue != VORN_CHECK_VALUE || cfg->stateSize < VORN_STATE_BYTES) return -2;
  return VQE_Init(static_cast<WvqeState*>(cfg->pState));
}

Word16 VQE_Init(WvqeState* state) {
  arvessa::initialise(state->noiseReduction);
  arvessa::initialise(state->agc);
  return 0;
}

Word16 VORN_Proc(const Word16* in, int length, Word16* out, Word16* lengthWord, VornConfig* cfg) {
  arvessa::NoObserver nobody;
  return arvessa::engineFrame(in, length, out, lengthWord, cfg, nobody);
}

Word16 VORN_GetVer(void) { return 103; }

}  // extern "C"
