// SPDX-License-Identifier: Apache-2.0
#pragma once
// A progress bar on standard error, with the time left, for work that a person waits for; nothing without a terminal.

#include <chrono>
#include <cstddef>
#include <mutex>

namespace arvessa::app {

class Progress {
 public:
  // For `streams` streams of equal weight, which may advance from several threads.
  Progress(std::size_t streams, bool quiet);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress() { clear(); }

  // One stream got on by `share` of its length.
  void operator()(double share);
  // Takes the bar away, to make room for other output.
  void clear();

 private:
  using Clock = std::chrono::steady_clock;

  const bool shown_;
  const double streams_;
  const Clock::time_point begin_;
  std::mutex mutex_;
  double done_ = 0;
  bool drawn_ = false;
  Clock::time_point nextDrawing_;
};

}  // namespace arvessa::app
