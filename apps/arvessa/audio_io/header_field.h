// SPDX-License-Identifier: Apache-2.0
#pragma once
// Names and numbers in the headers of audio files.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "audio_io/input_device.h"

namespace arvessa::app {

enum class Order { kLittle, kBig };

// A few bytes at a position of an input; zeros beyond its end. The position in it is then unknown.
struct HeaderField {
  HeaderField(InputDevice& device, std::int64_t at, std::size_t size) : length(size) {
    device.seek(at);
    isWhole = device.read(std::as_writable_bytes(std::span(bytes).first(size))) == size;
  }
  std::string_view text() const { return {reinterpret_cast<const char*>(bytes.data()), length}; }
  std::int64_t number(Order order) const {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < length; ++i) {
      value = value << 8 | bytes.at(order == Order::kBig ? i : length - 1 - i);
    }
    return static_cast<std::int64_t>(value);
  }

  std::array<unsigned char, 8> bytes{};
  std::size_t length;
  bool isWhole = false;
};

inline bool beginsWith(InputDevice& device, std::string_view text) {
  return HeaderField(device, 0, text.size()).text() == text;
}

// Whether `size` is what a writer to a pipe puts there, since it cannot know it: the largest size
// of 31 or 32 bits, or one a header below it, or more than there can be.
inline bool saysNothing(std::int64_t size) {
  constexpr std::int64_t kMargin = 0x10000;
  const auto isJustBelow = [size](std::int64_t limit) {
    return size <= limit && size >= limit - kMargin;
  };
  return size < 0 || size >= std::int64_t{1} << 60 || isJustBelow(std::int64_t{1} << 31) ||
         isJustBelow(std::int64_t{1} << 32);
}

}  // namespace arvessa::app
