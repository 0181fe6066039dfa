// SPDX-License-Identifier: Apache-2.0
#include "commands/batch.h"

#include <algorithm>
#include <atomic>
#include <new>
#include <system_error>
#include <thread>

#include "audio_io/errors.h"
#include "audio_io/stop.h"
#include "commands/output_folders.h"
#include "commands/progress.h"
#include "commands/text.h"

namespace arvessa::app {
namespace {

// `folders` are made for the output if there are any.
Record runJob(const Job& job, const std::vector<std::string>& inputs, OutputFolders* folders,
              const Work& work, Progress& progress) {
  Record record;
  const Stopwatch stopwatch;
  try {
    checkIsNoInput(job.output, inputs);
    if (folders != nullptr) folders->makeFor(job.output);
    record.outcome = work(job, std::ref(progress));
    record.status = record.outcome->complaint.empty() ? Status::kDone : Status::kIncomplete;
  } catch (const Stopped&) {
    record.status = Status::kStopped;
  } catch (const std::bad_alloc&) {
    record.error = shownName(job.input) + ": out of memory";
    record.status = Status::kFailed;
  } catch (const std::exception& failure) {
    record.error = failure.what();
    record.status = Status::kFailed;
  }
  record.elapsed = stopwatch.seconds();
  return record;
}

std::vector<Record> recordsOf(const Plan& plan, std::size_t atOnce, bool quiet, const Work& work) {
  const std::vector<Job>& jobs = plan.jobs;
  std::vector<std::string> inputs;
  inputs.reserve(jobs.size());
  for (const Job& job : jobs) inputs.push_back(job.input);
  std::vector<Record> records(jobs.size());
  OutputFolders folders;
  Progress progress(jobs.size(), quiet);
  std::atomic<std::size_t> next = 0;
  const auto takeJobs = [&] {
    for (std::size_t i = next++; i < jobs.size() && !stopRequested(); i = next++) {
      records[i] = runJob(jobs[i], inputs, plan.makesFolders ? &folders : nullptr, work, progress);
    }
  };
  std::vector<std::jthread> others;
  while (others.size() + 1 < std::min(atOnce, jobs.size())) {
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

}  // namespace

int runJobs(const Plan& plan, int atOnce, const ReportSettings& settings, const Work& work) {
  const StopScope scope;
  const Stopwatch stopwatch;
  const unsigned processors = std::max(1U, std::thread::hardware_concurrency());
  const std::vector<Record> records = recordsOf(
      plan, atOnce == 0 ? processors : static_cast<std::size_t>(atOnce), settings.quiet, work);
  return report(plan, records, settings, stopwatch.seconds());
}

int runBatch(const BatchOptions& options, const Work& work) {
  return runJobs(planJobs(options), options.jobs, {options.quiet, options.report == "json"}, work);
}

}  // namespace arvessa::app
