// SPDX-License-Identifier: Apache-2.0
// arvessa trace: what the front end decided, frame by frame.

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <optional>

#include "audio_io/pending_file.h"
#include "commands/batch.h"
#include "commands/commands.h"
#include "commands/decision_table.h"
#include "commands/two_microphones.h"

namespace arvessa::app {
namespace {

struct Options {
  Job job;
  TwoMicrophoneOptions microphones;
  bool quiet = false;
};

Outcome trace(const Options& options, const Job& job, const std::function<void(double)>& advance) {
  const TwoMicrophones microphones(options.microphones);
  const auto source = microphones.open(job.input);
  std::optional<PendingFile> file;
  if (job.output != "-") file.emplace(job.output);
  DecisionTable table(file ? file->fd() : STDOUT_FILENO, file ? job.output : "standard output",
                      microphones.geometry().directions);
  FrontEndProcessor frontEnd =
      microphones.processor(std::bind_front(&DecisionTable::addDecision, &table));
  const StreamResult result = runStream(*source, frontEnd, table, false, advance);
  table.finish();
  if (file) file->commit();
  Outcome outcome = outcomeOf(*source, result, ARVESSA_SAMPLE_RATE);
  outcome.beamShares = frontEnd.beamShares();
  outcome.details = std::to_string(table.lines()) + " lines of 10 ms";
  return outcome;
}

}  // namespace

void addTrace(CLI::App& app, Run& run) {
  auto options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand(
      "trace", "What the front end decides about a two-microphone recording, as a table");
  command->add_option("IN", options->job.input, "recording to read; - is standard input")
      ->required();
  addOutputOption(*command, options->job.output, "CSV file to write; - is standard output");
  command->get_option("--output")->required();
  addTwoMicrophoneOptions(*command, options->microphones);
  command->add_flag("--quiet", options->quiet, "no progress bar, no summary");
  command->footer(
      std::string("One line for every 10 ms of the input, with what was decided while these "
                  "samples went through:\n") +
      kDecisionColumns +
      "\nExample:\n"
      "  arvessa trace noisy.wav -o decisions.csv");
  command->callback([options, &run] {
    run = [options] {
      return runJobs({.jobs = {options->job}}, 1, {options->quiet},
                     std::bind_front(trace, std::cref(*options)));
    };
  });
}

}  // namespace arvessa::app
