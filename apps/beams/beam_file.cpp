// SPDX-License-Identifier: Apache-2.0
#include "beams/beam_file.h"

#include <charconv>
#include <cmath>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace arvessa::beams {
namespace {

constexpr std::string_view kMicrophonesKey = "# microphones_mm:";
constexpr std::string_view kDirectionsKey = "# directions_deg:";
constexpr std::string_view kHeading = "beam,bin,microphone,re,im";

// Five significant digits (`%.5g`).
std::string decimal(double value) {
  std::array<char, 32> text{};
  const auto end =
      std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::general, 5);
  return {text.data(), end.ptr};
}

// The shortest decimal that is this number.
std::string exact(double value) {
  std::array<char, 32> text{};
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), value).ptr};
}

// Numbers between commas and blanks; throws where there is anything else.
template <class Number>
std::vector<Number> numbersIn(std::string_view text) {
  std::vector<Number> numbers;
  const char* at = text.data();
  const char* const end = at + text.size();
  for (;;) {
    while (at != end && (*at == ' ' || *at == ',' || *at == '\r')) ++at;
    if (at == end) return numbers;
    Number value{};
    const auto [next, error] = std::from_chars(at, end, value);
    if (error != std::errc() || !std::isfinite(value)) {
      throw std::invalid_argument("is not a list of numbers");
    }
    numbers.push_back(value);
    at = next;
  }
}

void readMicrophones(std::string_view text, Geometry& geometry) {
  const auto mm = numbersIn<double>(text);
  if (mm.size() != 4) throw std::invalid_argument("needs x and y of two microphones");
  geometry.microphones = {{{mm[0] / 1000, mm[1] / 1000}, {mm[2] / 1000, mm[3] / 1000}}};
}

void readWeight(std::string_view text, BeamTable& table,
                std::array<bool, BeamTable::kValues>& known) {
  const auto numbers = numbersIn<float>(text);
  const auto isIndex = [&](std::size_t i, int size) {
    return numbers[i] >= 0 && numbers[i] < static_cast<float>(size) &&
           numbers[i] == std::floor(numbers[i]);
  };
  if (numbers.size() != 5 || !isIndex(0, kBeams) || !isIndex(1, kBins) || !isIndex(2, 2)) {
    throw std::invalid_argument("is not beam 0..2, bin 0..63, microphone 0..1 and a weight");
  }
  const auto i = static_cast<std::size_t>(numbers[0] * 128 + numbers[1] * 2 + numbers[2]);
  if (known.at(i)) throw std::invalid_argument("has a weight that was there before");
  known.at(i) = true;
  table.re.at(i) = numbers[3];
  table.im.at(i) = numbers[4];
}

}  // namespace

std::string beamFileText(const Geometry& geometry, const Weights& weights) {
  const auto& [first, second] = geometry.microphones;
  std::ostringstream out;
  out << "# Weights of three beams for Arvessa, one line for each beam, bin and microphone\n"
      << kMicrophonesKey << ' ' << exact(first.x * 1000) << ',' << exact(first.y * 1000) << ' '
      << exact(second.x * 1000) << ',' << exact(second.y * 1000) << '\n'
      << kDirectionsKey;
  for (std::size_t i = 0; i < geometry.directions.size(); ++i) {
    out << (i == 0 ? ' ' : ',') << exact(geometry.directions[i]);
  }
  out << '\n' << kHeading << '\n';
  for (std::size_t s = 0; s < kBeams; ++s) {
    for (std::size_t k = 0; k < kBins; ++k) {
      for (std::size_t m = 0; m < 2; ++m) {
        const Complex w = weights.at(s).at(k).at(m);
        out << s << ',' << k << ',' << m << ',' << decimal(w.real()) << ',' << decimal(w.imag())
            << '\n';
      }
    }
  }
  return out.str();
}

BeamFile parseBeamFile(const std::string& text) {
  BeamFile file{};
  std::array<bool, BeamTable::kValues> known{};
  bool hasMicrophones = false;
  std::istringstream lines(text);
  std::string line;
  for (int number = 1; std::getline(lines, line); ++number) {
    if (line.ends_with('\r')) line.pop_back();
    const std::string_view view = line;
    try {
      if (view.starts_with(kMicrophonesKey)) {
        readMicrophones(view.substr(kMicrophonesKey.size()), file.geometry);
        hasMicrophones = true;
      } else if (view.starts_with(kDirectionsKey)) {
        file.geometry.directions = numbersIn<double>(view.substr(kDirectionsKey.size()));
      } else if (!view.empty() && view.front() != '#' && view != kHeading) {
        readWeight(view, file.table, known);
      }
    } catch (const std::invalid_argument& error) {
      throw std::invalid_argument("line " + std::to_string(number) + " " + error.what());
    }
  }
  std::size_t missing = 0;
  for (const bool isKnown : known) missing += isKnown ? 0 : 1;
  if (missing == known.size()) throw std::invalid_argument("holds no weights of beams");
  if (missing > 0) throw std::invalid_argument("lacks " + std::to_string(missing) + " weights");
  if (!hasMicrophones) throw std::invalid_argument("does not say where the microphones are");
  const std::string reason = reasonAgainst(file.geometry);
  if (!reason.empty()) throw std::invalid_argument("cannot be: " + reason);
  return file;
}

}  // namespace arvessa::beams
