// SPDX-License-Identifier: Apache-2.0
#include "front_end/decision.h"

#include <algorithm>
#include <cmath>

#include "agc/agc_tables.h"

namespace arvessa::app {
namespace {

double decibels(double gain) { return gain > 0 ? std::max(-100.0, 20 * std::log10(gain)) : -100; }

}  // namespace

void MeanGain::operator()(const GainsFound& found) const {
  double sum = 0;
  for (const Word16 gain : found.binGain) sum += gain / 32768.0;
  mean = sum / static_cast<double>(found.binGain.size());
}

Decision decisionOf(const WvqeState& engine, int gainTableNumber, double meanGain, int beam) {
  const AgcState& agc = engine.agc;
  const double gain = gainTable(gainTableNumber)[static_cast<std::size_t>(agc.agcGainIdx)];
  return {beam,
          agc.vadFlag,
          agc.agcGainIdx,
          decibels(gain / 65536.0),
          -static_cast<double>(engine.noiseReduction.floorLevel),
          decibels(meanGain)};
}

}  // namespace arvessa::app
