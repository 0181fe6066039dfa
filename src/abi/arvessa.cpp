// SPDX-License-Identifier: Apache-2.0
#include "Arvessa.h"

#include <cstring>

#include "abi/android_log.h"
#include "abi/front_end_frame.h"

namespace arvessa {
namespace {

constexpr intptr_t kBadPointer = -1;
constexpr intptr_t kBadValue = -2;
constexpr intptr_t kVersion = 100;

}  // namespace
}  // namespace arvessa

extern "C" {

intptr_t Arvessa_Init(ArvessaConfig* cfg) {
  using namespace arvessa;
  if (cfg == nullptr || cfg->pWork == nullptr || !isAligned(cfg->pWork)) return kBadPointer;
  if (cfg->workSize < ARVESSA_WORK_BYTES || cfg->rateCode != 0 || cfg->nrEnable > 1 ||
      cfg->engineEnable > 1) {
    return kBadValue;
  }
  std::memset(cfg->pWork, 0, ARVESSA_WORK_BYTES);
  auto& state = *static_cast<ArvessaState*>(cfg->pWork);
  initialise(state.beamformer);
  VornConfig* engine = vornConfigIn(&state);
  engine->pState = cfg->pWork;
  engine->stateSize = VORN_STATE_BYTES;
  engine->checkValue = VORN_CHECK_VALUE;
  engine->rateCode = cfg->rateCode;
  engine->nrEnable = cfg->nrEnable;
  engine->agcEnable = cfg->engineEnable;
  engine->agcTableSel = kFrontEndGainTable;
  return VORN_Init(engine);
}

intptr_t Arvessa(const Word16* in, Word16* out, ArvessaConfig* cfg) {
  arvessa::NoObserver nobody;
  return arvessa::frontEndFrame(in, out, cfg, arvessa::storedBeams(), nobody);
}

intptr_t Arvessa_GetVer(void) {
  using namespace arvessa;
  __android_log_print(kLogDebug, "Arvessa", "Arvessa_GetVer:%d!\n", static_cast<int>(kVersion));
  return kVersion;
}

}  // extern "C"
