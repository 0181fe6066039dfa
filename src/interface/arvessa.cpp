#include "Arvessa.h"

#include <cstring>

#include "beamformer/mvdr_beamformer.h"
#include "interface/android_log.h"
#include "interface/work_buffer.h"

namespace arvessa {
namespace {

constexpr intptr_t kOk = 0;
constexpr intptr_t kBadPointer = -1;
constexpr intptr_t kBadValue = -2;
constexpr intptr_t kVersion = 100;
constexpr Word16 kEngineGainTable = 4;  // up to 18.4 dB

constexpr int kMics = 2;
constexpr int kBeamBlock = 128;  // history, new samples, and as many zeros as history

bool misaligned(const void* pointer) {
  return reinterpret_cast<std::uintptr_t>(pointer) % ARVESSA_WORK_ALIGNMENT != 0;
}

intptr_t initEngine(const ArvessaConfig& cfg, ArvessaState& state) {
  VornConfig* engine = vornConfigIn(&state);
  engine->pState = cfg.pWork;
  engine->stateSize = VORN_STATE_BYTES;
  engine->checkValue = VORN_CHECK_VALUE;
  engine->rateCode = cfg.rateCode;
  engine->nrEnable = cfg.nrEnable;
  engine->agcEnable = cfg.engineEnable;
  engine->agcTableSel = kEngineGainTable;
  return VORN_Init(engine) == 0 ? kOk : kBadPointer;
}

intptr_t runEngine(Word16* frame, ArvessaState& state) {
  alignas(ARVESSA_WORK_ALIGNMENT) Word16 result[kBeamFrame];
  Word16 length = kBeamFrame;
  const Word16 status = VORN_Proc(frame, kBeamFrame, result, &length, vornConfigIn(&state));
  if (status == 0) std::memcpy(frame, result, sizeof result);
  return status;
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
}  // namespace arvessa

extern "C" {

intptr_t Arvessa_Init(ArvessaConfig* cfg) {
  using namespace arvessa;
  if (cfg == nullptr || cfg->pWork == nullptr || misaligned(cfg->pWork)) return kBadPointer;
  if (cfg->workSize < ARVESSA_WORK_BYTES || cfg->rateCode != 0 || cfg->nrEnable > 1 ||
      cfg->engineEnable > 1) {
    return kBadValue;
  }
  std::memset(cfg->pWork, 0, ARVESSA_WORK_BYTES);
  auto& state = *static_cast<ArvessaState*>(cfg->pWork);
  state.beamConfirm = 1;
  return initEngine(*cfg, state);
}

intptr_t Arvessa(const Word16* in, Word16* out, ArvessaConfig* cfg) {
  using namespace arvessa;
  if (in == nullptr || out == nullptr || cfg == nullptr || cfg->pWork == nullptr ||
      misaligned(cfg->pWork) || misaligned(in) || misaligned(out)) {
    return kBadPointer;
  }
  auto& state = *static_cast<ArvessaState*>(cfg->pWork);
  Word16 beamFrame[kMics * kBeamBlock];
  buildBlock(in, state.mic1History, beamFrame);
  buildBlock(in + kBeamFrame, state.mic2History, beamFrame + kBeamBlock);

  MVDR_BeamForming(beamFrame, out, &state);
  if (cfg->engineEnable == 1) {
    const intptr_t status = runEngine(out, state);
    if (status != kOk) return status;
  }
  ++state.frameCount;
  return kOk;
}

intptr_t Arvessa_GetVer(void) {
  using namespace arvessa;
  __android_log_print(kLogDebug, "Arvessa", "Arvessa_GetVer:%d!\n", static_cast<int>(kVersion));
  return kVersion;
}

}  // extern "C"
