// SPDX-License-Identifier: Apache-2.0
#include "audio_io/errors.h"

#include <array>
#include <bit>
#include <cstdint>

namespace arvessa::app {
namespace {

// The length of the character of UTF-8 that `text` begins with if a terminal shows it; else 0.
std::size_t shownLength(std::string_view text) {
  const auto first = static_cast<unsigned char>(text.front());
  if (first < 0x80) return first >= 0x20 && first != 0x7F ? 1 : 0;
  const auto length = static_cast<std::size_t>(std::countl_one(first));
  if (length < 2 || length > 4 || length > text.size()) return 0;
  std::uint32_t character = first & (0x7FU >> length);
  for (const char next : text.substr(1, length - 1)) {
    if ((next & 0xC0) != 0x80) return 0;
    character = character << 6 | (static_cast<unsigned char>(next) & 0x3FU);
  }
  return character >= 0xA0 ? length : 0;
}

std::string escaped(char character) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  if (character == '\n') return "\\n";
  if (character == '\t') return "\\t";
  const auto code = static_cast<unsigned char>(character);
  return {'\\', 'x', kDigits[code >> 4], kDigits[code & 15U]};
}

}  // namespace

std::string printable(std::string_view text) {
  std::string shown;
  while (!text.empty()) {
    const std::size_t length = shownLength(text);
    if (length == 0) {
      shown += escaped(text.front());
    } else {
      shown += text.substr(0, length);
    }
    text.remove_prefix(length == 0 ? 1 : length);
  }
  return shown;
}

std::string shownName(const std::string& name) { return name.empty() ? "\"\"" : printable(name); }

}  // namespace arvessa::app
