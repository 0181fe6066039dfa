// SPDX-License-Identifier: Apache-2.0
// Per-frame driver: microphone histories, beamformer, then the engine when the caller asks for it.
#include "reference/arvessa.h"

#include <algorithm>
#include <cstdint>

#include "reference/beamformer.h"
#include "reference/engine.h"

namespace reference {
namespace {

bool misaligned(const void* pointer) { return reinterpret_cast<std::uintptr_t>(pointer) % 4 != 0; }

}  // namespace

int Arvessa_Init(ArvessaConfig* cfg) {
  if (cfg == nullptr || cfg->pWork == nullptr || misaligned(cfg->pWork)) return -1;
  if (cfg->workSize < kWorkBytes || cfg->rateCode != 0) return -2;
  if (cfg->nrEnable > 1 || cfg->engineEnable > 1) return -2;
  ArvessaState& work = *cfg->pWork;
  work = ArvessaState{};
  work.beamConfirm = 1;
  work.vornConfig = {&work.engine,  kEngineBytes,      20, cfg->rateCode,
                     cfg->nrEnable, cfg->engineEnable, 4};
  return VORN_Init(&work.vornConfig) == 0 ? 0 : -1;
}

int Arvessa(const Word16* in, Word16* out, ArvessaConfig* cfg) {
  if (in == nullptr || out == nullptr || cfg == nullptr || cfg->pWork == nullptr) return -1;
  if (misaligned(cfg->pWork) || misaligned(in) || misaligned(out)) return -1;
  ArvessaState& work = *cfg->pWork;
  Word16 beamFrame[256] = {};
  std::copy(work.mic1History, work.mic1History + 24, beamFrame);
  std::copy(in, in + 80, beamFrame + 24);
  std::copy(work.mic2History, work.mic2History + 24, beamFrame + 128);
  std::copy(in + 80, in + 160, beamFrame + 152);
  std::copy(in + 56, in + 80, work.mic1History);
  std::copy(in + 136, in + 160, work.mic2History);
  MVDR_BeamForming(beamFrame, out, &work);
  if (cfg->engineEnable == 1) {
    alignas(4) Word16 result[80];
    Word16 lengthWord = 80;
    const Word16 status = VORN_Proc(out, 80, result, &lengthWord, &work.vornConfig);
    if (status != 0) return status;
    std::copy(result, result + 80, out);
  }
  ++work.frameCount;
  return 0;
}

}  // namespace reference
