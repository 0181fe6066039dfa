// SPDX-License-Identifier: Apache-2.0
#include "commands/front_end.h"

#include <algorithm>

#include "audio_io/open.h"
#include "audio_io/resampled.h"
#include "commands/library_call.h"
#include "commands/text.h"

namespace arvessa::app {

FrontEnd::FrontEnd(const FrontEndSettings& settings)
    : FrameProcessor(2, 1, ARVESSA_FRAME_SAMPLES,
                     settings.engine ? ARVESSA_ENGINE_LATENCY : ARVESSA_BEAM_LATENCY),
      config_{work_.data(), ARVESSA_WORK_BYTES, 0, flag(settings.noiseReduction),
              flag(settings.engine)},
      swap_(settings.swap) {
  check(Arvessa_Init(&config_), "Arvessa_Init");
}

void FrontEnd::process(std::span<const Word16> in, std::size_t /*filled*/, std::span<Word16> out) {
  alignas(ARVESSA_WORK_ALIGNMENT) std::array<Word16, std::size_t{2} * ARVESSA_FRAME_SAMPLES>
      swapped;
  const Word16* microphones = in.data();
  if (swap_) {
    std::rotate_copy(in.begin(), in.begin() + ARVESSA_FRAME_SAMPLES, in.end(), swapped.begin());
    microphones = swapped.data();
  }
  check(callLibrary(microphones, out.data(), config_), "Arvessa");
  ++framesOfBeam_.at(static_cast<std::size_t>(state().beamformer.beamSelected));
}

std::intptr_t FrontEnd::callLibrary(const Word16* microphones, Word16* out, ArvessaConfig& config) {
  return Arvessa(microphones, out, &config);
}

std::string FrontEnd::beamShares() const {
  std::int64_t total = 0;
  for (const std::int64_t frames : framesOfBeam_) total += frames;
  const auto share = [&](std::size_t beam) {
    return fixed(100 * static_cast<double>(framesOfBeam_[beam]) / static_cast<double>(total), 0);
  };
  return "beams at 0/90/180 degrees " + share(0) + "/" + share(1) + "/" + share(2) + " %";
}

std::unique_ptr<Source> openFrontEndSource(const std::string& path, bool raw) {
  auto source = openSource(path, {ARVESSA_SAMPLE_RATE, 2, raw});
  if (source->channels != 2) {
    throw Failure(source->name, "has " + std::to_string(source->channels) + " channel" +
                                    (source->channels == 1 ? "" : "s") +
                                    "; two are needed, one of each microphone");
  }
  return resampled(std::move(source), ARVESSA_SAMPLE_RATE);
}

}  // namespace arvessa::app
