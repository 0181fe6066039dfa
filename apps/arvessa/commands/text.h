// SPDX-License-Identifier: Apache-2.0
#pragma once
// What is told to people after the work.

#include <chrono>
#include <ostream>
#include <string>

namespace arvessa::app {

std::string fixed(double value, int decimals);
std::string shortest(double value);  // as many decimals as it takes

// "44.76 s in 0.12 s (373 x real time)"
std::string speedText(double audioSeconds, double elapsedSeconds);

class Stopwatch {
 public:
  double seconds() const { return std::chrono::duration<double>(Clock::now() - begin_).count(); }

 private:
  using Clock = std::chrono::steady_clock;
  Clock::time_point begin_ = Clock::now();
};

// Where summaries go when `output` is written: standard output, unless it carries the data itself.
std::ostream& summariesBeside(const std::string& output);

}  // namespace arvessa::app
