// SPDX-License-Identifier: Apache-2.0
#include "commands/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <iostream>

namespace arvessa::app {

std::string fixed(double value, int decimals) {
  std::array<char, 64> text{};
  const auto result = std::to_chars(text.data(), text.data() + text.size(), value,
                                    std::chars_format::fixed, decimals);
  return {text.data(), result.ptr};
}

std::string shortest(double value) {
  std::array<char, 32> text{};
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), value).ptr};
}

std::string speedText(double audioSeconds, double elapsedSeconds) {
  const double speed = audioSeconds / std::max(elapsedSeconds, 1e-6);
  return fixed(audioSeconds, 2) + " s in " + fixed(elapsedSeconds, 2) + " s (" +
         fixed(speed, speed < 10 ? 1 : 0) + " x real time)";
}

std::ostream& summariesBeside(const std::string& output) {
  return output == "-" ? std::cerr : std::cout;
}

}  // namespace arvessa::app
