// arvessa engine: the voice enhancement engine alone, every channel for itself.

#include <memory>

#include "batch.h"
#include "commands.h"
#include "front_end.h"
#include "resample.h"

namespace arvessa::tools {
namespace {

struct Options {
  BatchOptions batch;
  int rawRate = ARVESSA_SAMPLE_RATE;
  int rawChannels = 1;
  bool noSuppression = false;
  bool noLevelling = false;
  int gainTable = 4;
  bool keepDelay = false;
};

Outcome enhance(const Options& options, const Job& job, Progress& progress) {
  auto source = openSource(job.input, options.rawRate, options.rawChannels);
  const int rate = source->rate;
  const int channels = source->channels;
  const int engineRate = EngineBank::rateFor(rate);
  source = resampled(std::move(source), engineRate);
  EngineBank bank({!options.noSuppression, !options.noLevelling, options.gainTable}, engineRate,
                  channels);
  const auto sink = resampled(openSink(job.output, rate, channels), rate, engineRate, channels,
                              options.keepDelay ? nullptr : source.get());

  Outcome outcome;
  outcome.result = runStream(*source, bank, *sink, options.keepDelay, progress);
  sink->finish();
  outcome.seconds = static_cast<double>(outcome.result.frames) / engineRate;
  if (channels > 1) outcome.details = std::to_string(channels) + " channels";
  outcome.complaint = source->complaint();
  return outcome;
}

}  // namespace

void addEngine(CLI::App& app, Run& run) {
  auto options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand(
      "engine", "The engine alone: noise suppression and levelling of every channel for itself");
  addBatchOptions(*command, options->batch);
  command->add_option("--rate", options->rawRate, "rate of raw standard input, Hz")
      ->check(CLI::Range(1000, 768000))
      ->capture_default_str();
  command->add_option("--channels", options->rawChannels, "channels of raw standard input")
      ->check(CLI::Range(1, 1024))
      ->capture_default_str();
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
      "these and back. Raw samples (-) are 16-bit little-endian, interleaved.\n\n"
      "Examples:\n"
      "  arvessa engine call.wav -o quiet.wav --agc-table 2\n"
      "  arvessa engine *.wav --out-dir quiet --no-agc\n"
      "  arecord -f S16_LE -r 16000 -t raw | arvessa engine - --rate 16000 -o - |\n"
      "      aplay -f S16_LE -r 16000 -t raw");
  command->callback([options, &run] {
    run = [options] {
      return runBatch(options->batch, [&](const Job& job, Progress& progress) {
        return enhance(*options, job, progress);
      });
    };
  });
}

}  // namespace arvessa::tools
