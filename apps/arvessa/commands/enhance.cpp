// SPDX-License-Identifier: Apache-2.0
// arvessa enhance: the whole front end for recordings and live pipes.

#include <CLI/CLI.hpp>
#include <memory>

#include "audio_io/open.h"
#include "commands/batch.h"
#include "commands/commands.h"
#include "commands/front_end.h"

namespace arvessa::app {
namespace {

struct Options {
  BatchOptions batch;
  FrontEndSettings frontEnd;
  bool keepDelay = false;
  bool raw = false;
};

Outcome enhance(const Options& options, const Job& job,
                const std::function<void(double)>& advance) {
  const auto source = openFrontEndSource(job.input, options.raw);
  FrontEnd frontEnd(options.frontEnd);
  const auto sink = openSink(job.output, ARVESSA_SAMPLE_RATE, 1);
  const StreamResult result = runStream(*source, frontEnd, *sink, options.keepDelay, advance);
  sink->finish();
  Outcome outcome = outcomeOf(*source, result, ARVESSA_SAMPLE_RATE);
  outcome.details = frontEnd.beamShares();
  return outcome;
}

int runEnhance(const Options& options) {
  return runJobs(planJobs(options.batch), options.batch.jobs, options.batch.quiet,
                 std::bind_front(enhance, std::cref(options)));
}

}  // namespace

void addEnhance(CLI::App& app, Run& run) {
  auto options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand(
      "enhance",
      "Two-microphone recordings (channel 1 = microphone 1) to clean speech, 8 kHz mono");
  addBatchOptions(*command, options->batch);
  auto* noEngine = command->add_flag_callback(
      "--no-engine", [options] { options->frontEnd.engine = false; }, "the beamformer alone");
  command
      ->add_flag_callback(
          "--no-nr", [options] { options->frontEnd.noiseReduction = false; },
          "AGC without noise reduction")
      ->excludes(noEngine);
  command->add_flag("--swap", options->frontEnd.swap, "exchange the microphones");
  command->add_flag("--keep-delay", options->keepDelay,
                    "keep the latency of 3 ms (beamformer) or 6 ms (with the engine)");
  command->add_flag("--raw", options->raw, kRawHelp);
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
