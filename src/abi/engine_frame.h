// SPDX-License-Identifier: Apache-2.0
#pragma once
// A frame through the engine, checks included: noise reduction, then AGC. An observer sees the
// stages of the noise reduction (noise_reduction/pipeline.h).

#include <algorithm>
#include <iterator>

#include "Vorn.h"
#include "abi/views.h"
#include "abi/work_buffer.h"
#include "agc/agc_tables.h"
#include "noise_reduction/pipeline.h"

namespace arvessa {

static_assert(std::all_of(std::begin(kRates), std::end(kRates), [](const Rate& rate) {
  return rate.samples <= VORN_MAX_FRAME_SAMPLES && isAgcFrame(rate.samples);
}));

// As VORN_Proc.
template <class Observer>
Word16 engineFrame(const Word16* in, int length, Word16* out, Word16* lengthWord,
                   const VornConfig* cfg, Observer& observe) {
  if (in == nullptr || out == nullptr || lengthWord == nullptr || cfg == nullptr ||
      cfg->pState == nullptr || !isAligned(cfg->pState) || !isAligned(in) || !isAligned(out)) {
    return -1;
  }
  if (cfg->rateCode >= kRateCodes) return -2;
  const Rate& rate = kRates[cfg->rateCode];
  if (*lengthWord < rate.samples || length < rate.samples || cfg->nrEnable > 1 ||
      cfg->agcEnable > 1 || !isGainTable(cfg->agcTableSel)) {
    return -2;
  }
  auto& state = *static_cast<WvqeState*>(cfg->pState);
  const auto samples = view(in, rate.samples);
  const auto result = view(out, rate.samples);
  // Runs whatever the switches say: the noise estimate and the voice decision always follow.
  countFrame(state.noiseReduction);
  const bool voice =
      reduceNoise(rate, cfg->nrEnable == 1, samples, state.noiseReduction, result, observe);
  state.agc.vadFlag = voice ? 1 : 0;
  if (cfg->agcEnable == 1) {
    controlGain(state.agc, gainTable(cfg->agcTableSel), result, result);
  } else if (cfg->nrEnable == 0) {
    std::copy(samples.begin(), samples.end(), result.begin());
  }
  *lengthWord = static_cast<Word16>(rate.samples);
  return 0;
}

}  // namespace arvessa
