// arvessa engine: the voice enhancement engine alone, every channel for itself.

#include "commands.h"
#include "front_end.h"
#include "resample.h"

namespace arvessa::tools {
namespace {

Outcome enhance(const EngineOptions& options, const Job& job, Progress& progress) {
  auto source = openSource(job.input, options.rawRate.value_or(ARVESSA_SAMPLE_RATE),
                           options.rawChannels.value_or(1));
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

int runEngine(const EngineOptions& options) {
  const bool raw = options.batch.inputs == std::vector<std::string>{"-"};
  if (!raw && (options.rawRate || options.rawChannels)) {
    throw UsageError("--rate and --channels are for raw standard input; a file has its own");
  }
  return runBatch(options.batch, [&](const Job& job, Progress& progress) {
    return enhance(options, job, progress);
  });
}

}  // namespace arvessa::tools
