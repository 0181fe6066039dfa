// SPDX-License-Identifier: Apache-2.0
#include "commands/progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <string>

#include "audio_io/messages.h"

namespace arvessa::app {
namespace {

using namespace std::chrono_literals;

constexpr auto kPatience = 500ms;  // shorter work needs no bar
constexpr auto kInterval = 100ms;
constexpr std::size_t kMostColumns = 60;

std::size_t columns() {
  winsize size{};
  const bool known = ioctl(messageDescriptor(), TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return std::min<std::size_t>(known ? size.ws_col : 80U, kMostColumns);
}

// "4:05" or "1:04:05"
std::string clockText(double seconds) {
  const auto whole = static_cast<long>(std::ceil(seconds));
  std::ostringstream text;
  text << std::setfill('0');
  if (whole >= 3600) text << whole / 3600 << ':' << std::setw(2);
  text << whole / 60 % 60 << ':' << std::setw(2) << whole % 60;
  return text.str();
}

}  // namespace

Progress::Progress(std::size_t streams, bool quiet)
    : shown_(!quiet && isatty(messageDescriptor()) != 0),
      streams_(static_cast<double>(streams)),
      begin_(Clock::now()),
      nextDrawing_(begin_ + kPatience) {}

void Progress::operator()(double share) {
  if (!shown_) return;
  const std::lock_guard lock(mutex_);
  done_ += share / streams_;
  const auto now = Clock::now();
  if (now < nextDrawing_) return;
  nextDrawing_ = now + kInterval;
  const double done = std::clamp(done_, 1e-6, 1.0);
  const double elapsed = std::chrono::duration<double>(now - begin_).count();
  const std::string text = std::to_string(static_cast<int>(100 * done)) + " %, " +
                           clockText(elapsed / done - elapsed) + " left";
  // The last column stays free: a character there may move some terminals on.
  const std::size_t others = text.size() + 4;
  const std::size_t width = columns() > others ? columns() - others : 0;
  const auto filled = static_cast<std::size_t>(done * static_cast<double>(width));
  std::ostringstream line;
  line << "\r\033[K";
  if (width > 0)
    line << '[' << std::string(filled, '#') << std::string(width - filled, '.') << "] ";
  line << text.substr(0, columns() - 1);
  std::cerr << line.str() << std::flush;
  drawn_ = true;
}

void Progress::clear() {
  const std::lock_guard lock(mutex_);
  if (drawn_) std::cerr << "\r\033[K";
  drawn_ = false;
}

}  // namespace arvessa::app
