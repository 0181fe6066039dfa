// SPDX-License-Identifier: Apache-2.0
#include "commands/batch.h"

#include <algorithm>
#include <atomic>
#include <iostream>
#include <new>
#include <optional>
#include <system_error>
#include <thread>

#include "audio_io/errors.h"
#include "commands/progress.h"
#include "commands/text.h"

namespace arvessa::app {
namespace {

struct Record {
  std::optional<Outcome> outcome;  // none if the input failed
  std::string error;
  double elapsed = 0;  // seconds of work
};

Record runJob(const Job& job, const std::vector<std::string>& inputs, const Work& work,
              Progress& progress) {
  Record record;
  const Stopwatch stopwatch;
  try {
    checkIsNoInput(job.output, inputs);
    record.outcome = work(job, std::ref(progress));
    record.error = record.outcome->complaint;
  } catch (const std::bad_alloc&) {
    record.error = job.input + ": out of memory";
  } catch (const std::exception& failure) {
    record.error = failure.what();
  }
  record.elapsed = stopwatch.seconds();
  return record;
}

std::string summary(const Job& job, const Record& record) {
  const Outcome& outcome = *record.outcome;
  std::string text = job.input + " -> " + job.output + ": " +
                     speedText(outcome.seconds, record.elapsed) + ", " +
                     fixed(outcome.result.in.level(), 1) + " dBFS in, " +
                     fixed(outcome.result.out.level(), 1) + " dBFS out";
  if (!outcome.details.empty()) text += ", " + outcome.details;
  if (outcome.result.clipped > 0) {
    text += ", " + std::to_string(outcome.result.clipped) + " input samples clipped";
  }
  return text;
}

std::vector<Record> recordsOf(const std::vector<Job>& jobs, int atOnce, bool quiet,
                              const Work& work) {
  std::vector<std::string> inputs;
  inputs.reserve(jobs.size());
  for (const Job& job : jobs) inputs.push_back(job.input);
  std::vector<Record> records(jobs.size());
  Progress progress(jobs.size(), quiet);
  std::atomic<std::size_t> next = 0;
  const auto takeJobs = [&] {
    for (std::size_t i = next++; i < jobs.size(); i = next++) {
      records[i] = runJob(jobs[i], inputs, work, progress);
    }
  };
  std::vector<std::jthread> others;
  while (others.size() + 1 < std::min(static_cast<std::size_t>(atOnce), jobs.size())) {
    try {
      others.emplace_back(takeJobs);
    } catch (const std::system_error&) {
      break;  // with as many threads as there may be
    }
  }
  takeJobs();
  others.clear();  // joins them
  return records;
}

// Tells what was done and what was not. Returns the exit code.
int report(const std::vector<Job>& jobs, const std::vector<Record>& records, bool quiet,
           double elapsed) {
  std::ostream& to = summariesBeside(jobs.front().output);
  std::string failed;
  std::size_t failures = 0;
  std::size_t done = 0;
  double audio = 0;
  for (std::size_t i = 0; i < jobs.size(); ++i) {
    const Record& record = records[i];
    if (!record.error.empty()) {
      std::cerr << "arvessa: " << record.error << '\n';
      failed.append(failures++ == 0 ? "" : ", ").append(shownName(jobs[i].input));
    }
    if (!record.outcome) continue;
    ++done;
    audio += record.outcome->seconds;
    if (!quiet) to << summary(jobs[i], record) << '\n';
  }
  if (jobs.size() > 1 && failures > 0) {
    std::cerr << "arvessa: not done or incomplete: " << failed << '\n';
  }
  if (jobs.size() > 1 && !quiet) {
    to << done << " of " << jobs.size() << " recordings: " << speedText(audio, elapsed) << '\n';
  }
  return failures == 0 ? 0 : 1;
}

}  // namespace

Outcome outcomeOf(const Source& source, const StreamResult& result, int rate) {
  const std::string complaint = source.complaint();
  return {result, static_cast<double>(result.frames) / rate, "",
          complaint.empty() ? "" : Failure(source.name, complaint).what()};
}

int runJobs(const std::vector<Job>& jobs, int atOnce, bool quiet, const Work& work) {
  const Stopwatch stopwatch;
  const std::vector<Record> records = recordsOf(jobs, atOnce, quiet, work);
  return report(jobs, records, quiet, stopwatch.seconds());
}

}  // namespace arvessa::app
