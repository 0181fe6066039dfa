// SPDX-License-Identifier: Apache-2.0
// arvessa scene: a two-microphone recording made of a mono one.
#include "scene/scene.h"

#include <CLI/CLI.hpp>
#include <cmath>
#include <filesystem>
#include <iostream>
#include <memory>
#include <vector>

#include "audio_io/errors.h"
#include "audio_io/file_format.h"
#include "audio_io/level.h"
#include "audio_io/open.h"
#include "commands/beams_option.h"
#include "commands/commands.h"
#include "commands/jobs.h"
#include "commands/progress.h"
#include "commands/suggestion.h"
#include "commands/text.h"
#include "scene/pieces.h"

namespace arvessa::app {
namespace {

struct Options {
  SceneSettings scene;
  std::string beams;
  std::string output;
  bool quiet = false;
};

// A finite number; CLI::Range lets a NaN through.
CLI::Validator within(double least, double most) {
  const std::string range = fixed(least, 0) + " to " + fixed(most, 0);
  return {[least, most, range](const std::string& text) {
            double value = 0;
            const bool fits = parses(text, value) && value >= least && value <= most;
            return fits ? std::string() : text + " is not in the range " + range;
          },
          range};
}

// An integer without a sign below 2^64.
std::string checkSeed(const std::string& text) {
  std::uint64_t seed = 0;
  return parses(text, seed) ? "" : text + " is not an integer from 0 to 2^64 - 1";
}

void checkNoise(const std::string& noise) {
  std::error_code error;
  if (!isRecordedNoise(noise) || std::filesystem::exists(noise, error)) return;
  const std::string meant = closest(noise, {"fan", "white", "babble", "none"});
  throw UsageError("--noise " + noise + ": neither fan, white, babble or none nor a recording" +
                   (meant.empty() ? "" : "; did you mean " + meant + "?"));
}

std::string summary(const SceneSettings& settings, const Scene& scene) {
  std::string text = "talker at " + fixed(settings.talker, 0) + " degrees, speech " +
                     fixed(decibels(scene.speechPower), 1) + " dBFS";
  if (settings.noise != "none") {
    text += ", " + settings.noise + " noise " + fixed(decibels(scene.noisePower), 1) + " dBFS";
  }
  if (settings.noiseFrom) {
    text += ", half of it from " + fixed(*settings.noiseFrom, 0) + " degrees";
  }
  if (scene.factor < 1) {
    text += ", all scaled by " + fixed(20 * std::log10(scene.factor), 1) + " dB to fit";
  }
  return text;
}

int runScene(const Options& options) {
  const Stopwatch stopwatch;
  SceneSettings settings = options.scene;
  settings.microphones = readBeams(options.beams).geometry.microphones;
  checkWritableFormat(options.output);
  if (settings.noise == "none" && settings.noiseFrom) {
    throw UsageError("--noise-from needs a noise; --noise none has none");
  }
  std::vector<std::string> inputs = {settings.speech};
  if (isRecordedNoise(settings.noise)) inputs.push_back(settings.noise);
  checkNoise(settings.noise);
  checkIsNoInput(options.output, inputs);
  Progress progress(1, options.quiet);
  const auto open = [&](int rate) { return openSink(options.output, rate, 2); };
  const Scene scene = makeScene(settings, open, std::ref(progress));
  progress.clear();
  if (options.quiet) return 0;
  const double seconds = static_cast<double>(scene.frames) / scene.rate;
  summariesBeside(options.output) << settings.speech << " -> " << options.output << ": "
                                  << speedText(seconds, stopwatch.seconds()) << " at " << scene.rate
                                  << " Hz, " << summary(settings, scene) << '\n';
  return 0;
}

}  // namespace

void addScene(CLI::App& app, Run& run) {
  auto options = std::make_shared<Options>();
  SceneSettings& settings = options->scene;
  CLI::App* command = app.add_subcommand(
      "scene", "A two-microphone recording of a talker in noise out of a mono one");
  command->add_option("SPEECH", settings.speech, "mono recording of the talker")->required();
  addOutputOption(*command, options->output, "file to write, - for raw standard output");
  command->get_option("--output")->required();
  command->add_option("--talker", settings.talker, "direction of the talker, degrees")
      ->check(within(-360, 360))
      ->capture_default_str();
  command
      ->add_option("--noise", settings.noise,
                   "fan, white, babble (made of the speech), none, or a recording")
      ->capture_default_str();
  command
      ->add_option("--noise-from", settings.noiseFrom,
                   "direction of a point source that adds as much noise again, degrees")
      ->check(within(-360, 360));
  command->add_option("--snr", settings.snr, "signal-to-noise ratio, dB")
      ->check(within(-100, 100))
      ->capture_default_str();
  command->add_option("--seed", settings.seed, "same seed, same noise")
      ->check(CLI::Validator(checkSeed, "UINT"))
      ->capture_default_str();
  command->add_option("--rate", settings.rate, "rate to write, Hz; by default the speech's")
      ->check(CLI::Range(1000, 192000));
  addBeamsOption(*command, options->beams);
  command->add_flag("--quiet", options->quiet, "no progress bar, no summary");
  command->footer(
      "The microphones are " + fixed(1000 * beams::distance(settings.microphones), 1) +
      " mm apart, or as --beams says: 0 degrees is beyond microphone\n"
      "2, 90 degrees in front, 180 degrees beyond microphone 1. The noise comes from all around.\n"
      "The signal-to-noise ratio is that of the speech without its pauses to all of the noise, at\n"
      "microphone 1. Babble and recorded noise are made of the first " +
      std::to_string(Material::kMost / 1'000'000) +
      " million samples of their\n"
      "recording, 10 minutes at 16 kHz. A file of speech is read two or three times; speech from "
      "a\n"
      "pipe is kept in memory.\n\n"
      "Examples:\n"
      "  arvessa scene speech.wav --talker 0 --noise babble --snr 5 -o noisy.wav\n"
      "  arvessa scene speech.wav --noise fan --noise-from 180 --seed 7 --rate 8000 -o noisy.flac");
  command->callback([options, &run] { run = [options] { return runScene(*options); }; });
}

}  // namespace arvessa::app
