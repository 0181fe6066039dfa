// SPDX-License-Identifier: Apache-2.0
#include "commands/progress.h"

#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <string>

namespace arvessa::app {
namespace {

using namespace std::chrono_literals;

constexpr auto kPatience = 500ms;  // shorter work needs no bar
constexpr auto kInterval = 100ms;
constexpr int kWidth = 40;

}  // namespace

Progress::Progress(std::size_t streams, bool quiet)
    : shown_(!quiet && isatty(STDERR_FILENO) != 0),
      streams_(static_cast<double>(streams)),
      nextDrawing_(Clock::now() + kPatience) {}

void Progress::operator()(double share) {
  if (!shown_) return;
  const std::lock_guard lock(mutex_);
  done_ += share / streams_;
  if (Clock::now() < nextDrawing_) return;
  nextDrawing_ = Clock::now() + kInterval;
  const double done = std::min(done_, 1.0);
  const auto filled = static_cast<std::size_t>(done * kWidth);
  const std::string bar = std::string(filled, '#') + std::string(kWidth - filled, '.');
  std::cerr << "\r[" << bar << "] " << static_cast<int>(100 * done) << " %";
  drawn_ = true;
}

void Progress::clear() {
  const std::lock_guard lock(mutex_);
  if (drawn_) std::cerr << "\r\033[K";
  drawn_ = false;
}

}  // namespace arvessa::app
