// SPDX-License-Identifier: Apache-2.0
#include "commands/jobs.h"

#include <CLI/CLI.hpp>
#include <filesystem>
#include <map>
#include <system_error>

#include "audio_io/errors.h"
#include "audio_io/file_format.h"
#include "audio_io/open.h"
#include "audio_io/pending_file.h"

namespace arvessa::app {
namespace {

void makeDirectory(const std::string& path) {
  std::error_code error;
  std::filesystem::create_directories(path, error);
  if (error) throw Failure(path, "cannot be made a directory: " + error.message());
}

Job onlyJob(const BatchOptions& options) {
  if (options.output.empty()) throw UsageError("-o or --out-dir is required");
  if (options.inputs.size() > 1) throw UsageError("-o takes one input; several need --out-dir");
  checkWritableFormat(options.output);
  return {options.inputs.front(), options.output};
}

}  // namespace

void addBatchOptions(CLI::App& command, BatchOptions& options) {
  command.add_option("IN", options.inputs, "recordings to read; - is standard input")
      ->required()
      ->expected(1, -1);
  auto* output = command.add_option(
      "-o,--output", options.output,
      "file to write, of the format that its extension says; - is standard output");
  command
      .add_option("--out-dir", options.outputDirectory,
                  "directory to write to, made if missing: NAME.wav for an input NAME.*")
      ->excludes(output);
  command.add_option("--jobs", options.jobs, "inputs to work on at once, with --out-dir")
      ->check(CLI::Range(1, 1024))
      ->capture_default_str();
  command.add_flag("--quiet", options.quiet, "no progress bar, no summary");
}

std::vector<Job> planJobs(const BatchOptions& options) {
  if (options.outputDirectory.empty()) return {onlyJob(options)};
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
  makeDirectory(options.outputDirectory);
  return jobs;
}

void checkIsNoInput(const std::string& output, const std::vector<std::string>& inputs) {
  for (const std::string& input : inputs) {
    if (!isSameFile(input, output)) continue;
    throw Failure(output == "-" ? "standard output" : output,
                  "is the input " + shownName(input) + " itself; nothing was written");
  }
}

}  // namespace arvessa::app
