#include <cstring>

#include "agc/agc.h"
#include "engine/engine_init.h"
#include "engine/nr_pipeline.h"

namespace arvessa {
namespace {

bool isGainTable(int selector) { return selector >= 2 && selector <= 4; }

const Word32* gainTable(int selector) {
  return selector == 2 ? WVQE_AGC_GAIN_TABLE_5_9 : WVQE_AGC_GAIN_TABLE_15_9;
}

void levelFrame(WvqeState* state, const VornConfig& cfg, Word16* frame, int samples) {
  Word16 agcOut[kMaxFullbandFrame];
  VED_AGC_Process(state, frame, gainTable(cfg.agcTableSel), cfg.rateCode, agcOut);
  std::memcpy(frame, agcOut, static_cast<std::size_t>(samples) * sizeof(Word16));
}

}  // namespace
}  // namespace arvessa

extern "C" Word16 VORN_Proc(const Word16* in, int length, Word16* out, Word16* lengthWord,
                            VornConfig* cfg) {
  using namespace arvessa;
  if (in == nullptr || out == nullptr || lengthWord == nullptr || cfg == nullptr ||
      !isStatePointer(cfg->pState) || !isAligned(in) || !isAligned(out)) {
    return -1;
  }
  if (cfg->rateCode > 3) return -2;
  const int samples = frameSamples(cfg->rateCode);
  if (*lengthWord < samples || length < samples || cfg->nrEnable > 1 || cfg->agcEnable > 1 ||
      !isGainTable(cfg->agcTableSel)) {
    return -2;
  }
  auto* state = static_cast<WvqeState*>(cfg->pState);
  // Runs whatever the switches say: the noise estimate and the voice decision always follow.
  WVQE_NR_Proc(in, out, cfg, state);
  if (cfg->agcEnable == 1) {
    levelFrame(state, *cfg, out, samples);
  } else if (cfg->nrEnable == 0) {
    std::memcpy(out, in, static_cast<std::size_t>(samples) * sizeof(Word16));
  }
  *lengthWord = static_cast<Word16>(samples);
  return 0;
}
