// SPDX-License-Identifier: Apache-2.0
#pragma once
// What is said about jobs in the end.

#include <optional>
#include <string>
#include <vector>

#include "audio_io/frame_stream.h"
#include "commands/jobs.h"

namespace arvessa::app {

struct BeamShare {
  double direction;  // degrees
  double share;      // of the frames, 0 to 1
};

// Of a job that has made its output.
struct Outcome {
  StreamResult result;
  double seconds = 0;                 // of audio
  std::vector<BeamShare> beamShares;  // of a front end
  std::string details;                // more for the summary line, may be empty
  std::string complaint;  // about an input that could be read nevertheless, may be empty
  std::string remedy;     // what an output has of what is complained about
  std::string remark;     // about an input of which nothing was lost, may be empty
  bool isLive = false;
};

// What runStream did with `source`.
Outcome outcomeOf(const Source& source, const StreamResult& result, int rate);

enum class Status { kDone, kIncomplete, kFailed, kStopped };

struct Record {
  Status status = Status::kStopped;
  std::optional<Outcome> outcome;  // none if the input failed, or was given up
  std::string error;
  double elapsed = 0;  // seconds of work
};

struct ReportSettings {
  bool quiet = false;
  bool json = false;
};

// Tells what was done and what was not: the summary beside the outputs, troubles on standard error.
// Returns the exit code.
int report(const Plan& plan, const std::vector<Record>& records, const ReportSettings& settings,
           double elapsed);

}  // namespace arvessa::app
