// SPDX-License-Identifier: Apache-2.0
#include "front_end/engine.h"

#include <algorithm>

#include "abi/engine_frame.h"
#include "front_end/library_call.h"

namespace arvessa::app {
namespace {

// The history of the spectral chain, 3 ms. Two bands lag differently; this is the lower one's, which
// carries the speech. The low-pass filters before and after its chain add 3.2 samples each at low
// frequencies, 3.5 at 2 kHz and 4.1 at 3.4 kHz (their group delay), and 2 more go to the third place
// of three, where the synthesis puts every sample of the low band.
int latencyOf(const Rate& rate) {
  const int history = kSmallestHistory << rate.sizeCode;
  return rate.splitBand ? kernels::kDecimation * history + 2 + 7 : history;
}

std::size_t rateCodeOf(int rate) {
  return static_cast<std::size_t>(std::find(kEngineRates.begin(), kEngineRates.end(), rate) -
                                  kEngineRates.begin());
}

}  // namespace

int engineRateFor(int rate) {
  const auto* const enough = std::lower_bound(kEngineRates.begin(), kEngineRates.end(), rate);
  return enough == kEngineRates.end() ? kEngineRates.back() : *enough;
}

int engineLatencyAt(int rate) { return latencyOf(kRates[rateCodeOf(rate)]); }

Engine::Engine(const EngineSettings& settings, int rate)
    : settings_(settings),
      rateCode_(static_cast<std::uint8_t>(rateCodeOf(rate))),
      latency_(settings.noiseReduction || settings.agc ? engineLatencyAt(rate) : 0) {
  VornConfig config = {state_.data(), VORN_STATE_BYTES, VORN_CHECK_VALUE, rateCode_, 0, 0, 0};
  mustBeZero(VORN_Init(&config));
}

void Engine::change(const EngineSettings& settings) {
  settings_ = settings;
  latency_ = settings.noiseReduction || settings.agc ? latencyOf(kRates[rateCode_]) : 0;
}

Decision Engine::process(std::span<const Word16> in, std::span<Word16> out) {
  VornConfig config = {state_.data(),
                       VORN_STATE_BYTES,
                       VORN_CHECK_VALUE,
                       rateCode_,
                       flag(settings_.noiseReduction),
                       flag(settings_.agc),
                       static_cast<std::uint8_t>(settings_.agcTable)};
  auto length = static_cast<Word16>(in.size());
  MeanGain observer{meanGain_};
  mustBeZero(engineFrame(in.data(), length, out.data(), &length, &config, observer));
  return decisionOf(*reinterpret_cast<const WvqeState*>(state_.data()), settings_.agcTable,
                    meanGain_, 0);
}

}  // namespace arvessa::app
