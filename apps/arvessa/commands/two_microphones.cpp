// SPDX-License-Identifier: Apache-2.0
#include "commands/two_microphones.h"

#include <CLI/CLI.hpp>

#include "audio_io/errors.h"
#include "audio_io/open.h"
#include "audio_io/resampled.h"
#include "audio_io/selected_channels.h"
#include "commands/batch.h"

namespace arvessa::app {

void addTwoMicrophoneOptions(CLI::App& command, TwoMicrophoneOptions& options) {
  FrontEndSettings& settings = options.frontEnd;
  CLI::Option* noEngine = command.add_flag_callback(
      "--no-engine", [&settings] { settings.engine = false; }, "the beamformer alone");
  command
      .add_flag_callback(
          "--no-nr", [&settings] { settings.noiseReduction = false; },
          "AGC without noise reduction")
      ->excludes(noEngine);
  command
      .add_flag_callback(
          "--no-agc", [&settings] { settings.agc = false; },
          "noise reduction without AGC: the engine's own switch, which the front end of the\n"
          "library does not offer; no loud first second")
      ->excludes(noEngine);
  command.add_option("--beam", settings.heldBeam, "hold this beam: 0, 1 or 2")
      ->check(CLI::Range(0, 2));
  addBeamsOption(command, options.beams);
  command
      .add_option("--channels", options.channels,
                  "channels of microphone 1 and 2 in a recording of more, as 2,5")
      ->delimiter(',')
      ->expected(2)
      ->check(CLI::Range(1, 1024));
  command.add_flag("--swap", settings.swap, "exchange the microphones");
  command.add_flag("--raw", options.raw, kRawHelp);
}

TwoMicrophones::TwoMicrophones(const TwoMicrophoneOptions& options)
    : options_(options), beams_(readBeams(options.beams)) {
  const std::size_t count = beams_.geometry.directions.size();
  if (static_cast<std::size_t>(options.frontEnd.heldBeam.value_or(0)) >= count) {
    throw UsageError("--beam " + std::to_string(*options.frontEnd.heldBeam) + ": there are " +
                     std::to_string(count) + " beams, counted from 0");
  }
}

std::unique_ptr<Source> TwoMicrophones::open(const std::string& path) const {
  auto source = openSource(path, {ARVESSA_SAMPLE_RATE, 2, options_.raw});
  if (!options_.channels.empty()) {
    source = selectChannels(std::move(source), options_.channels);
  } else if (source->channels == 1) {
    throw Failure(source->name,
                  "has 1 channel; two are needed, one of each microphone. For one microphone there "
                  "is arvessa engine");
  } else if (source->channels != 2) {
    throw Failure(source->name, "has " + std::to_string(source->channels) +
                                    " channels; --channels says which two are the microphones");
  }
  return resampled(std::move(source), ARVESSA_SAMPLE_RATE);
}

FrontEndProcessor TwoMicrophones::processor(FrontEndProcessor::Listener listener) const {
  FrontEndSettings settings = options_.frontEnd;
  settings.beams = {beams_.table.re.data(), beams_.table.im.data()};
  return {settings, beams_.geometry.directions, std::move(listener)};
}

}  // namespace arvessa::app
