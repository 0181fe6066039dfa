// SPDX-License-Identifier: Apache-2.0
// arvessa enhance: the whole front end for recordings and live pipes.

#include <CLI/CLI.hpp>
#include <memory>

#include "audio_io/open.h"
#include "commands/batch.h"
#include "commands/commands.h"
#include "commands/two_microphones.h"

namespace arvessa::app {
namespace {

struct Options {
  BatchOptions batch;
  TwoMicrophoneOptions microphones;
  bool keepDelay = false;
};

Outcome enhance(const Options& options, const TwoMicrophones& microphones, const Job& job,
                const std::function<void(double)>& advance) {
  const auto source = microphones.open(job.input);
  FrontEndProcessor frontEnd = microphones.processor();
  const auto sink = openSink(job.output, ARVESSA_SAMPLE_RATE, 1);
  const StreamResult result = runStream(*source, frontEnd, *sink, options.keepDelay, advance);
  sink->finish();
  Outcome outcome = outcomeOf(*source, result, ARVESSA_SAMPLE_RATE);
  outcome.details = frontEnd.beamShares();
  return outcome;
}

int runEnhance(const Options& options) {
  const TwoMicrophones microphones(options.microphones);
  return runJobs(planJobs(options.batch), options.batch.jobs, options.batch.quiet,
                 std::bind_front(enhance, std::cref(options), std::cref(microphones)));
}

}  // namespace

void addEnhance(CLI::App& app, Run& run) {
  auto options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand(
      "enhance",
      "Two-microphone recordings (channel 1 = microphone 1) to clean speech, 8 kHz mono");
  addBatchOptions(*command, options->batch);
  addTwoMicrophoneOptions(*command, options->microphones);
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

}  // namespace arvessa::app
