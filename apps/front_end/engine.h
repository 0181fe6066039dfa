// SPDX-License-Identifier: Apache-2.0
#pragma once
// The engine alone as a value: one channel, its state included.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "Vorn.h"
#include "front_end/decision.h"
#include "noise_reduction/geometry.h"

namespace arvessa::app {

struct EngineSettings {
  bool noiseReduction = true;
  bool agc = true;
  int agcTable = 4;  // 2 from -1.9 to 8.9 dB, 3 and 4 from 1.2 to 18.4 dB
};

// Hz, by rate code, rising.
inline constexpr std::array kEngineRates = [] {
  std::array<int, kRateCodes> rates{};
  for (std::size_t code = 0; code < rates.size(); ++code) rates[code] = 100 * kRates[code].samples;
  return rates;
}();
static_assert(std::is_sorted(kEngineRates.begin(), kEngineRates.end()));

// The lowest of these rates that loses nothing of a signal at `rate`, or the highest.
int engineRateFor(int rate);
// Samples by which the engine's output lags its input at one of these rates.
int engineLatencyAt(int rate);

class Engine {
 public:
  // `rate` is one of kEngineRates.
  Engine(const EngineSettings& settings, int rate);
  // From the next frame on.
  void change(const EngineSettings& settings);
  // One frame of 10 ms; both are 4-byte aligned and may be the same.
  Decision process(std::span<const Word16> in, std::span<Word16> out);
  // Samples by which the output lags the input, 0 with everything off.
  int latency() const { return latency_; }

 private:
  alignas(VORN_STATE_ALIGNMENT) std::array<std::byte, VORN_STATE_BYTES> state_;
  EngineSettings settings_;
  std::uint8_t rateCode_;
  int latency_;
  double meanGain_ = 1;  // of the suppression in the last frame
};

}  // namespace arvessa::app
