// SPDX-License-Identifier: Apache-2.0
#pragma once
// Numbers and words as people write and read them.

#include <charconv>
#include <chrono>
#include <ostream>
#include <string>
#include <string_view>

namespace arvessa::app {

std::string fixed(double value, int decimals);
std::string shortest(double value);  // as many decimals as it takes

// Whether all of `text` is a number of the type of `value`.
template <typename Number>
bool parses(std::string_view text, Number& value) {
  if (text.starts_with('+')) text.remove_prefix(1);
  const auto [last, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  return error == std::errc() && last == text.data() + text.size();
}

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
