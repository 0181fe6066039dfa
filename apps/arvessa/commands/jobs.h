// SPDX-License-Identifier: Apache-2.0
#pragma once
// What is to be read and where it goes: one input to one output, or many into a directory.

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace arvessa::app {

struct Job {
  std::string input;
  std::string output;
};

struct BatchOptions {
  std::vector<std::string> inputs;
  std::string output;
  std::string outputDirectory;
  int jobs = 1;  // at once
  bool quiet = false;
};

void addBatchOptions(CLI::App& command, BatchOptions& options);

// Makes the output directory. Throws a UsageError if two outputs would be one file.
std::vector<Job> planJobs(const BatchOptions& options);

// Throws a Failure if `output` is one of the inputs.
void checkIsNoInput(const std::string& output, const std::vector<std::string>& inputs);

}  // namespace arvessa::app
