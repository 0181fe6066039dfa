// SPDX-License-Identifier: Apache-2.0
#pragma once
// The talker's recording, which a scene needs more than once.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "audio_io/source.h"

namespace arvessa::app {

class Speech {
 public:
  // Throws a Failure unless `path` leads to a recording with one channel. What is not a regular file,
  // such as a pipe, cannot be read again: it is kept in memory.
  Speech(const std::string& path, std::optional<int> rate);

  const std::string& path() const { return path_; }
  int rate() const { return rate_; }
  // From the beginning, at rate().
  std::unique_ptr<Source> open() const;

 private:
  std::string path_;
  int ownRate_ = 0;
  int rate_ = 0;
  std::vector<float> kept_;
};

}  // namespace arvessa::app
