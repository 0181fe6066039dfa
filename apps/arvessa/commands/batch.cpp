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
#include "audio_io/stop.h"
#include "commands/progress.h"
#include "commands/text.h"

namespace arvessa::app {
namespace {

struct Record {
  std::optional<Outcome> outcome;  // none if the input failed, or was given up
  std::string error;
  double elapsed = 0;  // seconds of work
  bool stopped = true;
};

std::string shownOutput(const Job& job) {
  return job.output == "-" ? "standard output" : shownName(job.output);
}

Record runJob(const Job& job, const std::vector<std::string>& inputs, const Work& work,
              Progress& progress) {
  Record record;
  record.stopped = false;
  const Stopwatch stopwatch;
  try {
    checkIsNoInput(job.output, inputs);
    record.outcome = work(job, std::ref(progress));
    record.error = record.outcome->complaint;
    if (!record.error.empty()) {
      record.error += "; " + shownOutput(job) + " " + record.outcome->remedy;
    }
  } catch (const Stopped&) {
    record.stopped = true;
  } catch (const std::bad_alloc&) {
    record.error = shownName(job.input) + ": out of memory";
  } catch (const std::exception& failure) {
    record.error = failure.what();
  }
  record.elapsed = stopwatch.seconds();
  return record;
}

std::string summary(const Job& job, const Record& record) {
  const Outcome& outcome = *record.outcome;
  std::string text = shownName(job.input) + " -> " + shownName(job.output) + ": " +
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
    for (std::size_t i = next++; i < jobs.size() && !stopRequested(); i = next++) {
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

// Tells what became of one recording.
void report(const Job& job, const Record& record, bool quiet, std::ostream& to) {
  const auto say = [](const std::string& text) { std::cerr << "arvessa: " + text + '\n'; };
  if (!record.error.empty()) say(record.error);
  if (!record.outcome) return;
  if (!record.outcome->remark.empty()) say(record.outcome->remark);
  if (!quiet) to << summary(job, record) << '\n';
  if (stopRequested() && record.outcome->isLive) {
    say(stopText() + "; " + shownOutput(job) + " holds all that came in");
  }
}

// Tells what was done and what was not. Returns the exit code.
int report(const std::vector<Job>& jobs, const std::vector<Record>& records, bool quiet,
           double elapsed) {
  std::ostream& to = summariesBeside(jobs.front().output);
  std::string bad;
  std::string stopped;
  std::size_t done = 0;
  std::size_t incomplete = 0;
  std::size_t failed = 0;
  double audio = 0;
  for (std::size_t i = 0; i < jobs.size(); ++i) {
    const Record& record = records[i];
    report(jobs[i], record, quiet, to);
    if (record.outcome) audio += record.outcome->seconds;
    if (record.stopped) {
      stopped.append(stopped.empty() ? "" : ", ").append(shownName(jobs[i].input));
    } else if (record.error.empty()) {
      ++done;
    } else {
      bad.append(bad.empty() ? "" : ", ").append(shownName(jobs[i].input));
      ++(record.outcome ? incomplete : failed);
    }
  }
  if (jobs.size() > 1 && !bad.empty()) {
    std::cerr << "arvessa: not done or incomplete: " + bad + '\n';
  }
  if (!stopped.empty()) std::cerr << "arvessa: " + stopText() + "; not done: " + stopped + '\n';
  if (jobs.size() > 1 && !quiet) {
    to << done << " of " << jobs.size() << " recordings done";
    if (incomplete > 0) to << ", " << incomplete << " incomplete";
    if (failed > 0) to << ", " << failed << " failed";
    to << ": " << speedText(audio, elapsed) << '\n';
  }
  if (stopRequested()) return stopCode();
  return incomplete + failed == 0 ? 0 : 1;
}

}  // namespace

Outcome outcomeOf(const Source& source, const StreamResult& result, int rate) {
  const std::string complaint = source.complaint();
  const std::string remark = source.remark();
  return {result,
          static_cast<double>(result.frames) / rate,
          "",
          complaint.empty() ? "" : Failure(source.name, complaint).what(),
          source.remedy(),
          remark.empty() ? "" : Failure(source.name, remark).what(),
          source.isLive()};
}

int runJobs(const std::vector<Job>& jobs, int atOnce, bool quiet, const Work& work) {
  const StopScope scope;
  const Stopwatch stopwatch;
  const std::vector<Record> records = recordsOf(jobs, atOnce, quiet, work);
  return report(jobs, records, quiet, stopwatch.seconds());
}

}  // namespace arvessa::app
