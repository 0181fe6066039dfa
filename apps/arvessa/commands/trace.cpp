// SPDX-License-Identifier: Apache-2.0
// arvessa trace: what the front end decided, frame by frame.

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <optional>
#include <system_error>
#include <vector>

#include "audio_io/descriptor.h"
#include "audio_io/errors.h"
#include "audio_io/pending_file.h"
#include "commands/batch.h"
#include "commands/commands.h"
#include "commands/text.h"
#include "commands/traced_front_end.h"

namespace arvessa::app {
namespace {

struct Options {
  Job job;
  bool swap = false;
  bool raw = false;
  bool quiet = false;
};

constexpr char kHeading[] =
    "time_s,input_dbfs,output_dbfs,beam,voice,agc_index,agc_gain_db,floor_db,"
    "mean_suppression_db\n";

// Takes the place of the enhanced recording: a line of the table for every 10 ms of it, as soon as
// they are there.
class TableSink : public Sink {
 public:
  TableSink(TracedFrontEnd& frontEnd, int fd, std::string name)
      : frontEnd_(frontEnd), fd_(fd), name_(std::move(name)) {
    put(kHeading);
  }
  void write(std::span<const Word16> samples) override {
    collected_.insert(collected_.end(), samples.begin(), samples.end());
    while (collected_.size() >= ARVESSA_FRAME_SAMPLES) addLine(ARVESSA_FRAME_SAMPLES);
  }
  void finish() override {
    if (!collected_.empty()) addLine(collected_.size());
  }
  std::int64_t lines() const { return lines_; }

 private:
  void addLine(std::size_t samples) {
    LevelMeter level;
    level.add(std::span(collected_).first(samples));
    collected_.erase(collected_.begin(), collected_.begin() + static_cast<std::ptrdiff_t>(samples));
    const Decision d = frontEnd_.nextDecision();
    put(fixed(static_cast<double>(lines_++) / 100, 2) + ',' + fixed(d.inputLevel, 2) + ',' +
        fixed(level.level(), 2) + ',' + std::to_string(d.beam) + ',' + std::to_string(d.voice) +
        ',' + std::to_string(d.agcIndex) + ',' + fixed(d.agcGain, 2) + ',' + fixed(d.floor, 0) +
        ',' + fixed(d.meanSuppression, 2) + '\n');
  }
  void put(const std::string& line) {
    const int error = writeAll(fd_, std::as_bytes(std::span(line))).error;
    if (error != 0) throw Failure(name_, std::generic_category().message(error));
  }

  TracedFrontEnd& frontEnd_;
  int fd_;
  std::string name_;
  std::vector<Word16> collected_;
  std::int64_t lines_ = 0;
};

Outcome trace(const Options& options, const Job& job, const std::function<void(double)>& advance) {
  const auto source = openFrontEndSource(job.input, options.raw);
  TracedFrontEnd frontEnd(options.swap);
  std::optional<PendingFile> file;
  if (job.output != "-") file.emplace(job.output);
  TableSink table(frontEnd, file ? file->fd() : STDOUT_FILENO,
                  file ? job.output : "standard output");
  const StreamResult result = runStream(*source, frontEnd, table, false, advance);
  table.finish();
  if (file) file->commit();
  Outcome outcome = outcomeOf(*source, result, ARVESSA_SAMPLE_RATE);
  outcome.details =
      frontEnd.beamShares() + ", " + std::to_string(table.lines()) + " lines of 10 ms";
  return outcome;
}

}  // namespace

void addTrace(CLI::App& app, Run& run) {
  auto options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand(
      "trace", "What the front end decides about a two-microphone recording, as a table");
  command->add_option("IN", options->job.input, "recording to read; - is standard input")
      ->required();
  command->add_option("-o,--output", options->job.output, "CSV file to write; - is standard output")
      ->required();
  command->add_flag("--swap", options->swap, "exchange the microphones");
  command->add_flag("--raw", options->raw, kRawHelp);
  command->add_flag("--quiet", options->quiet, "no progress bar, no summary");
  command->footer(
      "One line for every 10 ms of the input, beginning at time_s: the level of both microphones,\n"
      "the level of the same 10 ms of the recording that `arvessa enhance` makes, and what was\n"
      "decided while these samples went through. Levels are at least -100 dBFS.\n\n"
      "Example:\n"
      "  arvessa trace noisy.wav -o decisions.csv");
  command->callback([options, &run] {
    run = [options] {
      return runJobs({options->job}, 1, options->quiet,
                     std::bind_front(trace, std::cref(*options)));
    };
  });
}

}  // namespace arvessa::app
