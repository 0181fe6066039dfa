#pragma once
// One input or many: where each goes, several at a time, and what is said about it in the end.

#include <functional>
#include <string>
#include <vector>

#include "frame_stream.h"

namespace arvessa::tools {

struct BatchOptions {
  std::vector<std::string> inputs;
  std::string output;
  std::string outputDirectory;
  int jobs = 1;
  bool quiet = false;
};

struct Job {
  std::string input;
  std::string output;
};

struct Outcome {
  StreamResult result;
  double seconds = 0;     // of audio
  std::string details;    // more for the summary line, may be empty
  std::string complaint;  // about an input that could be read nevertheless
};

// Runs `work` for every input. An input that fails does not keep the others from being finished; it
// is reported on standard error. Returns the exit code.
int runBatch(const BatchOptions& options,
             const std::function<Outcome(const Job&, Progress&)>& work);

}  // namespace arvessa::tools
