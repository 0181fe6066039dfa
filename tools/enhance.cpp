// arvessa enhance: the whole front end for recordings and live pipes.

#include <memory>

#include "batch.h"
#include "commands.h"
#include "front_end.h"

namespace arvessa::tools {
namespace {

struct Options {
  BatchOptions batch;
  bool noEngine = false;
  bool noSuppression = false;
  bool swap = false;
  bool keepDelay = false;
};

Outcome enhance(const Options& options, const Job& job, Progress& progress) {
  const auto source = openFrontEndSource(job.input);
  FrontEnd frontEnd({!options.noEngine, !options.noSuppression, options.swap});
  const auto sink = openSink(job.output, ARVESSA_SAMPLE_RATE, 1);

  Outcome outcome;
  outcome.result = runStream(*source, frontEnd, *sink, options.keepDelay, progress);
  sink->finish();
  outcome.seconds = static_cast<double>(outcome.result.frames) / ARVESSA_SAMPLE_RATE;
  outcome.details = frontEnd.beamShares();
  outcome.complaint = source->complaint();
  return outcome;
}

}  // namespace

void addEnhance(CLI::App& app, Run& run) {
  auto options = std::make_shared<Options>();
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
  command->callback([options, &run] {
    run = [options] {
      return runBatch(options->batch, [&](const Job& job, Progress& progress) {
        return enhance(*options, job, progress);
      });
    };
  });
}

}  // namespace arvessa::tools
