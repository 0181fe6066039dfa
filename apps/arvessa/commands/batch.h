// SPDX-License-Identifier: Apache-2.0
#pragma once
// Jobs, several at a time, and what is said about them in the end.

#include <functional>
#include <string>
#include <vector>

#include "audio_io/frame_stream.h"
#include "commands/jobs.h"

namespace arvessa::app {

inline constexpr char kRawHelp[] = "standard input is raw samples, whatever it begins like";

struct Outcome {
  StreamResult result;
  double seconds = 0;     // of audio
  std::string details;    // more for the summary line, may be empty
  std::string complaint;  // about an input that could be read nevertheless, may be empty
  std::string remedy;     // what an output has of what is complained about
  std::string remark;     // about an input of which nothing was lost, may be empty
  bool isLive = false;
};

// Does one job and tells `advance` of every step, as a share of the whole.
using Work = std::function<Outcome(const Job&, const std::function<void(double)>& advance)>;

// What runStream did with `source`.
Outcome outcomeOf(const Source& source, const StreamResult& result, int rate);

// Runs `work` for every job, `atOnce` of them at a time. A job that fails does not keep the others
// from being finished; it is reported on standard error. When the program is asked to stop, live
// inputs end, and all other work that has not been finished is given up. Returns the exit code.
int runJobs(const std::vector<Job>& jobs, int atOnce, bool quiet, const Work& work);

}  // namespace arvessa::app
