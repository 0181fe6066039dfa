// SPDX-License-Identifier: Apache-2.0
#pragma once
// What is to be read and where it goes: one input to one output, or many into a folder.

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace arvessa::app {

struct Job {
  std::string input;
  std::string output;
  int format = 0;  // of the output, as formatOf() has it; 0: as its name says
};

struct BatchOptions {
  std::vector<std::string> inputs;
  std::string output;
  std::string outputFolder;
  std::string format;  // extension of the outputs, empty: as the inputs
  int jobs = 0;        // at once; 0: one for each processor
  bool skipExisting = false;
  std::string report = "text";
  bool quiet = false;
};

void addBatchOptions(CLI::App& command, BatchOptions& options);

// The option -o, which takes any name but an empty one.
void addOutputOption(CLI::App& command, std::string& output, const std::string& description);

struct Plan {
  std::vector<Job> jobs;
  bool makesFolders = false;  // for the outputs, where they are missing
  std::size_t skipped = 0;    // because their output is there already
};

// Looks into folders. Throws a UsageError if two outputs would be one file.
Plan planJobs(const BatchOptions& options);

// Throws a Failure if `output` is one of the inputs.
void checkIsNoInput(const std::string& output, const std::vector<std::string>& inputs);

}  // namespace arvessa::app
