// SPDX-License-Identifier: Apache-2.0
#pragma once
// What the commands for recordings of two microphones have in common.

#include <memory>
#include <string>
#include <vector>

#include "audio_io/source.h"
#include "commands/beams_option.h"
#include "commands/front_end_processor.h"

namespace CLI {
class App;
}

namespace arvessa::app {

struct TwoMicrophoneOptions {
  FrontEndSettings frontEnd;
  std::string beams;          // file of other beams, empty for the stored ones
  std::vector<int> channels;  // of the recording, counting from 1; empty: it has just two
  bool raw = false;
};

void addTwoMicrophoneOptions(CLI::App& command, TwoMicrophoneOptions& options);

// Reads what the options name, once for all recordings, and makes a processor for each.
class TwoMicrophones {
 public:
  explicit TwoMicrophones(const TwoMicrophoneOptions& options);

  // The recording of both microphones at `path` ("-" for standard input), at the front end's rate.
  std::unique_ptr<Source> open(const std::string& path) const;
  FrontEndProcessor processor(FrontEndProcessor::Listener listener = {}) const;
  const beams::Geometry& geometry() const { return beams_.geometry; }

 private:
  TwoMicrophoneOptions options_;
  beams::BeamFile beams_;
};

}  // namespace arvessa::app
