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
#include "commands/recordings.h"
#include "commands/text.h"

namespace arvessa::app {
namespace {

namespace fs = std::filesystem;

std::string checkCount(const std::string& text) {
  int count = 0;
  const bool fits = parses(text, count) && count >= 1 && count <= 1024;
  return fits ? "" : text + " is not a number from 1 to 1024";
}

// The format that `extension` stands for; 0 if it is empty.
int formatNamed(const std::string& extension) {
  return extension.empty() ? 0 : formatOf("any." + extension);
}

Job onlyJob(const BatchOptions& options) {
  if (options.output.empty()) throw UsageError("-o or --out-dir is required");
  if (options.inputs.size() > 1) throw UsageError("-o takes one input; several need --out-dir");
  const std::string& input = options.inputs.front();
  std::error_code error;
  if (fs::is_directory(input, error)) {
    throw UsageError(shownName(input) + " is a folder; folders need --out-dir");
  }
  const int format = formatNamed(options.format);
  checkWritableFormat(options.output, format);
  return {input, options.output, format};
}

// NAME.* becomes NAME.wav, or keeps its format where that can be written.
std::string outputNameOf(const fs::path& input, const std::string& format) {
  fs::path name = input;
  if (!format.empty()) return name.replace_extension(format).string();
  return formatOf(input.string()) == 0 ? name.replace_extension("wav").string() : name.string();
}

}  // namespace

void addOutputOption(CLI::App& command, std::string& output, const std::string& description) {
  command.add_option("-o,--output", output, description)
      ->type_name("FILE")
      ->check(CLI::Validator(
          [](const std::string& name) {
            return name.empty() ? "the name of the output is empty" : std::string();
          },
          ""));
}

void addBatchOptions(CLI::App& command, BatchOptions& options) {
  command.add_option("IN", options.inputs, "recordings or folders of them; - is standard input")
      ->required()
      ->type_name("")
      ->expected(1, -1);
  addOutputOption(command, options.output,
                  "file to write, of the format that its extension says; - is standard output");
  command
      .add_option("--out-dir", options.outputFolder,
                  "folder to write to, made if missing: NAME.flac for NAME.flac, NAME.wav where "
                  "the\nformat cannot be written; folders keep their subfolders")
      ->type_name("FOLDER")
      ->excludes("--output");
  command
      .add_option("--format", options.format,
                  "format of the outputs, whatever their names: wav, flac, aiff, au, caf or w64;\n"
                  "wav or flac on standard output, which is raw otherwise")
      ->type_name("FORMAT")
      ->check(CLI::IsMember({"wav", "flac", "aiff", "au", "caf", "w64"}).description(""));
  command.add_flag("--skip-existing", options.skipExisting,
                   "leave out what has its output already");
  command
      .add_option("--jobs", options.jobs,
                  "inputs to work on at once, with --out-dir [one for each processor]")
      ->type_name("N")
      ->check(CLI::Validator(checkCount, ""));
  command.add_option("--report", options.report, "what to say in the end: text or json")
      ->type_name("KIND")
      ->check(CLI::IsMember({"text", "json"}).description(""));
  command.add_flag("--quiet", options.quiet, "no progress bar, no summary");
}

Plan planJobs(const BatchOptions& options) {
  Plan plan;
  const auto add = [&](const Job& job) {
    std::error_code error;
    if (options.skipExisting && job.output != "-" && fs::exists(job.output, error)) {
      ++plan.skipped;
    } else {
      plan.jobs.push_back(job);
    }
  };
  if (options.outputFolder.empty()) {
    add(onlyJob(options));
    return plan;
  }
  plan.makesFolders = true;
  std::map<std::string, std::string> inputOfTarget;
  for (const Recording& recording : recordingsIn(options.inputs, options.outputFolder)) {
    const std::string output =
        (fs::path(options.outputFolder) / outputNameOf(recording.name, options.format)).string();
    const std::string target = targetOf(output);
    const auto [other, isNew] =
        inputOfTarget.emplace(target.empty() ? output : target, recording.path);
    if (!isNew) {
      throw UsageError(shownName(other->second) + " and " + shownName(recording.path) +
                       " would both become " + shownName(output));
    }
    add({recording.path, output});
  }
  return plan;
}

void checkIsNoInput(const std::string& output, const std::vector<std::string>& inputs) {
  for (const std::string& input : inputs) {
    if (!isSameFile(input, output)) continue;
    throw Failure(output == "-" ? "standard output" : output,
                  "is the input " + shownName(input) + " itself; nothing was written");
  }
}

}  // namespace arvessa::app
