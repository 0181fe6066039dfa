// SPDX-License-Identifier: Apache-2.0
// arvessa engine: the engine alone, every channel for itself.

#include <CLI/CLI.hpp>
#include <memory>
#include <optional>

#include "audio_io/errors.h"
#include "audio_io/open.h"
#include "audio_io/resampled.h"
#include "commands/batch.h"
#include "commands/commands.h"
#include "commands/engine_bank.h"

namespace arvessa::app {
namespace {

struct Options {
  BatchOptions batch;
  EngineSettings engine;
  std::optional<int> rawRate;
  std::optional<int> rawChannels;
  bool keepDelay = false;
  bool raw = false;
};

Outcome enhance(const Options& options, const Job& job,
                const std::function<void(double)>& advance) {
  auto source = openSource(
      job.input, {options.rawRate.value_or(8000), options.rawChannels.value_or(1), options.raw});
  const int rate = source->rate;
  const int channels = source->channels;
  const int engineRate = engineRateFor(rate);
  source = resampled(std::move(source), engineRate);
  EngineBank bank(options.engine, engineRate, channels);
  const auto sink = resampled(openSink(job.output, rate, channels, job.format), rate, engineRate,
                              channels, options.keepDelay ? nullptr : source.get());
  const StreamResult result = runStream(*source, bank, *sink, options.keepDelay, advance);
  sink->finish();
  Outcome outcome = outcomeOf(*source, result, engineRate);
  if (channels > 1) outcome.details = std::to_string(channels) + " channels";
  return outcome;
}

int runEngine(const Options& options) {
  const bool raw = options.batch.inputs == std::vector<std::string>{"-"};
  if (!raw && (options.rawRate || options.rawChannels)) {
    throw UsageError("--rate and --channels are for raw standard input; a file has its own");
  }
  return runBatch(options.batch, std::bind_front(enhance, std::cref(options)));
}

}  // namespace

void addEngine(CLI::App& app, Run& run) {
  auto options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand(
      "engine", "The engine alone: noise reduction and AGC of every channel for itself");
  addBatchOptions(*command, options->batch);
  command->add_option("--rate", options->rawRate, "rate of raw standard input, Hz [8000]")
      ->check(CLI::Range(1000, 768000));
  command->add_option("--channels", options->rawChannels, "channels of raw standard input [1]")
      ->check(CLI::Range(1, 1024));
  command->add_flag_callback(
      "--no-nr", [options] { options->engine.noiseReduction = false; }, "no noise reduction");
  command->add_flag_callback(
      "--no-agc", [options] { options->engine.agc = false; }, "no AGC");
  command
      ->add_option("--agc-table", options->engine.agcTable,
                   "gains of the AGC: 2 from -1.9 to 8.9 dB, 3 and 4 from 1.2 to 18.4 dB")
      ->check(CLI::Range(2, 4))
      ->capture_default_str();
  command->add_flag("--keep-delay", options->keepDelay, "keep the latency of the engine (3 ms)");
  command->add_flag("--raw", options->raw, kRawHelp);
  command->footer(
      "The engine works at 8, 16, 32 and 48 kHz; other rates are converted to the next higher of\n"
      "these and back. Raw samples (-) are 16-bit little-endian, interleaved. They are answered\n"
      "frame by frame; at a rate that is converted, some 40 to 140 ms later.\n\n"
      "Examples:\n"
      "  arvessa engine call.wav -o quiet.wav --agc-table 2\n"
      "  arvessa engine *.wav --out-dir quiet --no-agc\n"
      "  arecord -f S16_LE -r 16000 -t raw | arvessa engine - --rate 16000 -o - |\n"
      "      aplay -f S16_LE -r 16000 -t raw");
  command->callback([options, &run] { run = [options] { return runEngine(*options); }; });
}

}  // namespace arvessa::app
