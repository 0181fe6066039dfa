// SPDX-License-Identifier: Apache-2.0
#include "front_end.h"

#include <algorithm>

#include "resample.h"

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

std::uint8_t flag(bool on) { return on ? 1 : 0; }

void check(intptr_t status, const char* function) {
  if (status != 0) throw Failure(function, "returned " + std::to_string(status));
}

}  // namespace

FrontEnd::FrontEnd(const FrontEndSettings& settings)
    : FrameProcessor(2, 1, ARVESSA_FRAME_SAMPLES,
                     settings.engine ? ARVESSA_ENGINE_LATENCY : ARVESSA_BEAM_LATENCY),
      config_{work_.data(), ARVESSA_WORK_BYTES, 0, flag(settings.suppression),
              flag(settings.engine)},
      swap_(settings.swap) {
  check(Arvessa_Init(&config_), "Arvessa_Init");
}

void FrontEnd::process(std::span<const Word16> in, std::size_t /*filled*/, std::span<Word16> out) {
  std::array<Word16, std::size_t{2} * ARVESSA_FRAME_SAMPLES> swapped;
  const Word16* microphones = in.data();
  if (swap_) {
    std::rotate_copy(in.begin(), in.begin() + ARVESSA_FRAME_SAMPLES, in.end(), swapped.begin());
    microphones = swapped.data();
  }
  beforeFrame(microphones);
  check(Arvessa(microphones, out.data(), &config_), "Arvessa");
  ++framesOfBeam_.at(static_cast<std::size_t>(state().beamSelected));
}

const ArvessaState& FrontEnd::state() const {
  return *reinterpret_cast<const ArvessaState*>(work_.data());
}

std::string FrontEnd::beamShares() const {
  std::int64_t total = 0;
  for (const std::int64_t frames : framesOfBeam_) total += frames;
  const auto share = [&](std::size_t beam) {
    return fixed(100 * static_cast<double>(framesOfBeam_[beam]) / static_cast<double>(total), 0);
  };
  return "beams at 0/90/180 degrees " + share(0) + "/" + share(1) + "/" + share(2) + " %";
}

std::unique_ptr<Source> openFrontEndSource(const std::string& path) {
  auto source = openSource(path, ARVESSA_SAMPLE_RATE, 2);
  if (source->channels != 2) {
    throw Failure(source->name, "has " + std::to_string(source->channels) + " channel" +
                                    (source->channels == 1 ? "" : "s") +
                                    "; two are needed, one of each microphone");
  }
  return resampled(std::move(source), ARVESSA_SAMPLE_RATE);
}

EngineBank::EngineBank(const EngineSettings& settings, int rate, int channels)
    : FrameProcessor(channels, channels, rate / 100,
                     settings.suppression || settings.levelling ? latencyAt(rate) : 0),
      channels_(static_cast<std::size_t>(channels)) {
  for (Channel& channel : channels_) {
    channel.config = {channel.state.data(),
                      VORN_STATE_BYTES,
                      VORN_CHECK_VALUE,
                      rateCodeOf(rate),
                      flag(settings.suppression),
                      flag(settings.levelling),
                      static_cast<std::uint8_t>(settings.gainTable)};
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
  return kEngineRates[3].rate;
}

int EngineBank::latencyAt(int rate) { return kEngineRates[rateCodeOf(rate)].latency; }

}  // namespace arvessa::app
