// SPDX-License-Identifier: Apache-2.0
#include "commands/engine_bank.h"

#include <cstdint>

#include "commands/library_call.h"

namespace arvessa::app {
namespace {

struct EngineRate {
  int rate;
  int latency;  // samples
};

// At 48 kHz the two bands lag differently; this is the lower one's, which carries the speech. 144
// samples are the engine's own. The low-pass filters before and behind it add 3.2 samples each at
// low frequencies, 3.5 at 2 kHz and 4.1 at 3.4 kHz (their group delay), and 2 more go to the third
// place of three, where the synthesis puts every sample of the low band.
constexpr int kFullbandLatency = 144 + 2 + 7;

constexpr EngineRate kEngineRates[] = {
    {8000, 24}, {16000, 48}, {32000, 96}, {48000, kFullbandLatency}};

std::uint8_t rateCodeOf(int rate) {
  std::uint8_t code = 0;
  while (kEngineRates[code].rate != rate) ++code;
  return code;
}

}  // namespace

EngineBank::EngineBank(const EngineSettings& settings, int rate, int channels)
    : FrameProcessor(channels, channels, rate / 100,
                     settings.noiseReduction || settings.agc ? latencyAt(rate) : 0),
      channels_(static_cast<std::size_t>(channels)) {
  for (Channel& channel : channels_) {
    channel.config = {channel.state.data(),
                      VORN_STATE_BYTES,
                      VORN_CHECK_VALUE,
                      rateCodeOf(rate),
                      flag(settings.noiseReduction),
                      flag(settings.agc),
                      static_cast<std::uint8_t>(settings.agcTable)};
    check(VORN_Init(&channel.config), "VORN_Init");
  }
}

void EngineBank::process(std::span<const Word16> in, std::size_t /*filled*/,
                         std::span<Word16> out) {
  std::size_t offset = 0;
  for (Channel& channel : channels_) {
    auto length = static_cast<Word16>(frame);
    check(VORN_Proc(in.data() + offset, frame, out.data() + offset, &length, &channel.config),
          "VORN_Proc");
    offset += static_cast<std::size_t>(frame);
  }
}

int EngineBank::rateFor(int rate) {
  for (const EngineRate& candidate : kEngineRates) {
    if (candidate.rate >= rate) return candidate.rate;
  }
  return std::end(kEngineRates)[-1].rate;
}

int EngineBank::latencyAt(int rate) { return kEngineRates[rateCodeOf(rate)].latency; }

}  // namespace arvessa::app
