#include "batch.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <iostream>
#include <map>
#include <optional>
#include <system_error>
#include <thread>

#include "file_sink.h"
#include "pending_file.h"
#include "text.h"

namespace arvessa::tools {
namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point begin) {
  return std::chrono::duration<double>(Clock::now() - begin).count();
}

struct Record {
  std::optional<Outcome> outcome;  // none if the input failed
  std::string error;
  double elapsed = 0;  // seconds of work
};

std::vector<Job> planJobs(const BatchOptions& options) {
  if (options.outputDirectory.empty()) {
    if (options.output.empty()) throw UsageError("-o or --out-dir is required");
    if (options.inputs.size() > 1) {
      throw UsageError("-o takes one input; several need --out-dir");
    }
    checkWritableFormat(options.output);
    return {{options.inputs.front(), options.output}};
  }
  std::vector<Job> jobs;
  std::map<std::string, std::string> inputOfTarget;
  for (const std::string& input : options.inputs) {
    if (input == "-") throw UsageError("standard input needs -o, it has no name for --out-dir");
    const std::string name = std::filesystem::path(input).stem().string() + ".wav";
    const std::string output = (std::filesystem::path(options.outputDirectory) / name).string();
    const std::string target = targetOf(output);
    const auto [other, isNew] = inputOfTarget.emplace(target.empty() ? output : target, input);
    if (!isNew) {
      std::string both = other->second;
      both.append(" and ").append(input).append(" would both become ").append(output);
      throw UsageError(both);
    }
    jobs.push_back({input, output});
  }
  return jobs;
}

void makeDirectory(const std::string& path) {
  std::error_code error;
  std::filesystem::create_directories(path, error);
  if (error) throw Failure(path, "cannot be made a directory: " + error.message());
}

Record runJob(const Job& job, const std::vector<std::string>& inputs,
              const std::function<Outcome(const Job&, Progress&)>& work, Progress& progress) {
  Record record;
  const auto begin = Clock::now();
  try {
    for (const std::string& input : inputs) {
      if (isSameFile(input, job.output)) {
        throw Failure(job.output == "-" ? "standard output" : job.output,
                      "is the input " + input + " itself; nothing was written");
      }
    }
    record.outcome = work(job, progress);
    if (!record.outcome->complaint.empty()) {
      record.error =
          Failure(job.input == "-" ? "standard input" : job.input, record.outcome->complaint)
              .what();
    }
  } catch (const std::bad_alloc&) {
    record.error = job.input + ": out of memory";
  } catch (const std::exception& failure) {
    record.error = failure.what();
  }
  record.elapsed = secondsSince(begin);
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

std::vector<Record> runJobs(const std::vector<Job>& jobs, const BatchOptions& options,
                            const std::function<Outcome(const Job&, Progress&)>& work) {
  std::vector<Record> records(jobs.size());
  Progress progress(jobs.size(), options.quiet);
  std::atomic<std::size_t> next = 0;
  const auto takeJobs = [&] {
    for (std::size_t i = next++; i < jobs.size(); i = next++) {
      records[i] = runJob(jobs[i], options.inputs, work, progress);
    }
  };
  std::vector<std::jthread> others;
  while (others.size() + 1 < std::min(static_cast<std::size_t>(options.jobs), jobs.size())) {
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
int report(const std::vector<Job>& jobs, const std::vector<Record>& records,
           const BatchOptions& options, double elapsed) {
  // Standard output carries samples when "-" is written to.
  std::ostream& to = options.output == "-" ? std::cerr : std::cout;
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
    if (!options.quiet) to << summary(jobs[i], record) << '\n';
  }
  if (jobs.size() > 1 && failures > 0) {
    std::cerr << "arvessa: not done or incomplete: " << failed << '\n';
  }
  if (jobs.size() > 1 && !options.quiet) {
    to << done << " of " << jobs.size() << " recordings: " << speedText(audio, elapsed) << '\n';
  }
  return failures == 0 ? 0 : 1;
}

}  // namespace

int runBatch(const BatchOptions& options,
             const std::function<Outcome(const Job&, Progress&)>& work) {
  const std::vector<Job> jobs = planJobs(options);
  if (!options.outputDirectory.empty()) makeDirectory(options.outputDirectory);
  const auto begin = Clock::now();
  const std::vector<Record> records = runJobs(jobs, options, work);
  return report(jobs, records, options, secondsSince(begin));
}

}  // namespace arvessa::tools
