// arvessa enhance: the whole front end for recordings and live pipes.

#include "commands.h"
#include "front_end.h"

namespace arvessa::tools {
namespace {

Outcome enhance(const EnhanceOptions& options, const Job& job, Progress& progress) {
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

int runEnhance(const EnhanceOptions& options) {
  return runBatch(options.batch, [&](const Job& job, Progress& progress) {
    return enhance(options, job, progress);
  });
}

}  // namespace arvessa::tools
