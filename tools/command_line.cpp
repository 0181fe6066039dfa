#include "command_line.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <iostream>
#include <memory>

#include "Arvessa.h"
#include "Vorn.h"
#include "commands.h"
#include "text.h"

namespace arvessa::tools {
namespace {

using Run = std::function<int()>;

std::string versionText() {
  return std::string("arvessa ") + ARVESSA_VERSION + " (library " +
         std::to_string(Arvessa_GetVer()) + ", engine " + std::to_string(VORN_GetVer()) + ")";
}

// A finite number; CLI::Range lets what is no number through.
CLI::Validator within(double least, double most) {
  const std::string range = fixed(least, 0) + " to " + fixed(most, 0);
  return {[least, most, range](const std::string& text) {
            double value = 0;
            const bool fits =
                CLI::detail::lexical_cast(text, value) && value >= least && value <= most;
            return fits ? std::string() : text + " is not in the range " + range;
          },
          range};
}

// An integer without a sign below 2^64.
std::string checkSeed(const std::string& text) {
  std::uint64_t seed = 0;
  const char* end = text.data() + text.size();
  const auto [last, error] = std::from_chars(text.data(), end, seed);
  return error == std::errc() && last == end ? "" : text + " is not an integer from 0 to 2^64 - 1";
}

void addBatchOptions(CLI::App& command, BatchOptions& options) {
  command.add_option("IN", options.inputs, "recordings to read; - is standard input")
      ->required()
      ->expected(1, -1);
  auto* output = command.add_option(
      "-o,--output", options.output,
      "file to write, of the format that its extension says; - is standard output");
  command
      .add_option("--out-dir", options.outputDirectory,
                  "directory to write to, made if missing: NAME.wav for an input NAME.*")
      ->excludes(output);
  command.add_option("--jobs", options.jobs, "inputs to work on at once, with --out-dir")
      ->check(CLI::Range(1, 1024))
      ->capture_default_str();
  command.add_flag("--quiet", options.quiet, "no progress bar, no summary");
}

void addEnhance(CLI::App& app, Run& run) {
  auto options = std::make_shared<EnhanceOptions>();
  CLI::App* command = app.add_subcommand(
      "enhance",
      "Two-microphone recordings (channel 1 = microphone 1) to clean speech, 8 kHz mono");
  addBatchOptions(*command, options->batch);
  auto* noEngine = command->add_flag("--no-engine", options->noEngine, "the beamformer alone");
  command->add_flag("--no-nr", options->noSuppression, "levelling without noise suppression")
      ->excludes(noEngine);
  command->add_flag("--swap", options->swap, "exchange the microphones");
  command->add_flag("--keep-delay", options->keepDelay,
                    "keep the latency of 3 ms (beamformer) or 6 ms (with the engine)");
  command->footer(
      "Raw samples (-) are 16-bit little-endian: two channels at 8 kHz in, one out, frame by\n"
      "frame.\n\n"
      "Examples:\n"
      "  arvessa enhance noisy.wav -o clean.wav\n"
      "  arvessa enhance *.flac --out-dir clean --jobs 4\n"
      "  arecord -f S16_LE -r 8000 -c 2 -t raw | arvessa enhance - -o - |\n"
      "      aplay -f S16_LE -r 8000 -t raw");
  command->callback([options, &run] { run = [options] { return runEnhance(*options); }; });
}

void addEngine(CLI::App& app, Run& run) {
  auto options = std::make_shared<EngineOptions>();
  CLI::App* command = app.add_subcommand(
      "engine", "The engine alone: noise suppression and levelling of every channel for itself");
  addBatchOptions(*command, options->batch);
  command->add_option("--rate", options->rawRate, "rate of raw standard input, Hz [8000]")
      ->check(CLI::Range(1000, 768000));
  command->add_option("--channels", options->rawChannels, "channels of raw standard input [1]")
      ->check(CLI::Range(1, 1024));
  command->add_flag("--no-nr", options->noSuppression, "no noise suppression");
  command->add_flag("--no-agc", options->noLevelling, "no levelling");
  command
      ->add_option("--agc-table", options->gainTable,
                   "gains of the levelling: 2 from -1.9 to 8.9 dB, 3 and 4 from 1.2 to 18.4 dB")
      ->check(CLI::Range(2, 4))
      ->capture_default_str();
  command->add_flag("--keep-delay", options->keepDelay, "keep the latency of the engine (3 ms)");
  command->footer(
      "The engine works at 8, 16, 32 and 48 kHz; other rates are converted to the next higher of\n"
      "these and back. Raw samples (-) are 16-bit little-endian, interleaved. They are answered\n"
      "frame by frame; at a rate that is converted, some 30 ms later.\n\n"
      "Examples:\n"
      "  arvessa engine call.wav -o quiet.wav --agc-table 2\n"
      "  arvessa engine *.wav --out-dir quiet --no-agc\n"
      "  arecord -f S16_LE -r 16000 -t raw | arvessa engine - --rate 16000 -o - |\n"
      "      aplay -f S16_LE -r 16000 -t raw");
  command->callback([options, &run] { run = [options] { return runEngine(*options); }; });
}

void addScene(CLI::App& app, Run& run) {
  auto options = std::make_shared<SceneOptions>();
  CLI::App* command = app.add_subcommand(
      "scene", "A two-microphone recording of a talker in noise out of a mono one");
  command->add_option("SPEECH", options->speech, "mono recording of the talker")->required();
  command->add_option("-o,--output", options->output, "file to write, - for raw standard output")
      ->required();
  command->add_option("--talker", options->talker, "direction of the talker, degrees")
      ->check(within(-360, 360))
      ->capture_default_str();
  command
      ->add_option("--noise", options->noise,
                   "fan, white, babble (made of the speech), none, or a recording")
      ->capture_default_str();
  command
      ->add_option("--noise-from", options->noiseFrom,
                   "direction of a point source that adds as much noise again, degrees")
      ->check(within(-360, 360));
  command->add_option("--snr", options->snr, "signal-to-noise ratio, dB")
      ->check(within(-100, 100))
      ->capture_default_str();
  command->add_option("--seed", options->seed, "same seed, same noise")
      ->check(CLI::Validator(checkSeed, "UINT"))
      ->capture_default_str();
  command->add_option("--rate", options->rate, "rate to write, Hz; by default the speech's")
      ->check(CLI::Range(1000, 192000));
  command->add_flag("--quiet", options->quiet, "no progress bar, no summary");
  command->footer(
      "The microphones are 138.5 mm apart: 0 degrees is beyond microphone 2, 90 degrees in front,\n"
      "180 degrees beyond microphone 1. The noise comes from all around. The signal-to-noise "
      "ratio\n"
      "is that of the speech without its pauses to all of the noise, at microphone 1.\n\n"
      "Examples:\n"
      "  arvessa scene speech.wav --talker 0 --noise babble --snr 5 -o noisy.wav\n"
      "  arvessa scene speech.wav --noise fan --noise-from 180 --seed 7 --rate 8000 -o noisy.flac");
  command->callback([options, &run] { run = [options] { return runScene(*options); }; });
}

void addTrace(CLI::App& app, Run& run) {
  auto options = std::make_shared<TraceOptions>();
  CLI::App* command = app.add_subcommand(
      "trace", "What the front end decides about a two-microphone recording, as a table");
  command->add_option("IN", options->input, "recording to read; - is standard input")->required();
  command->add_option("-o,--output", options->output, "CSV file to write; - is standard output")
      ->required();
  command->add_flag("--swap", options->swap, "exchange the microphones");
  command->add_flag("--quiet", options->quiet, "no progress bar, no summary");
  command->footer(
      "One line for every 10 ms of the input, beginning at time_s: the level of both microphones,\n"
      "the level of the same 10 ms of the recording that `arvessa enhance` makes, and what was\n"
      "decided while these samples went through. Levels are at least -100 dBFS.\n\n"
      "Example:\n"
      "  arvessa trace noisy.wav -o decisions.csv");
  command->callback([options, &run] { run = [options] { return runTrace(*options); }; });
}

void addInfo(CLI::App& app, Run& run) {
  CLI::App* command =
      app.add_subcommand("info", "Versions, rates, latencies, buffer sizes, build target");
  command->footer("Example:\n  arvessa info");
  command->callback([&run] { run = runInfo; });
}

}  // namespace

Run readCommandLine(int argc, char** argv) {
  CLI::App app{"Speech front end of a two-microphone device", "arvessa"};
  app.set_version_flag("--version", versionText);
  app.require_subcommand(0, 1);
  app.footer(
      "Examples:\n"
      "  arvessa scene speech.wav --talker 0 --noise babble --snr 5 -o noisy.wav\n"
      "  arvessa enhance noisy.wav -o clean.wav\n"
      "  arvessa COMMAND --help\n\n"
      "Exit codes: 0 done, 1 failed, 2 wrong usage.");
  Run run;
  addEnhance(app, run);
  addEngine(app, run);
  addScene(app, run);
  addTrace(app, run);
  addInfo(app, run);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() != 0) {
      throw UsageError(std::string(error.what()) + " (arvessa --help shows the usage)");
    }
    app.exit(error);  // --help and --version
    return [] { return 0; };
  }
  if (!run) throw UsageError("a command is needed (arvessa --help shows them)");
  return run;
}

}  // namespace arvessa::tools
