// SPDX-License-Identifier: Apache-2.0
#include "audio_io/pipe_sink.h"

#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <string_view>
#include <system_error>

#include "audio_io/descriptor.h"
#include "audio_io/errors.h"
#include "audio_io/stop.h"

namespace arvessa::app {
namespace {

constexpr char kName[] = "standard output";

void put(std::vector<std::byte>& to, std::uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) to.push_back(static_cast<std::byte>(value >> 8 * i & 0xFF));
}

void put(std::vector<std::byte>& to, std::string_view text) {
  for (const char character : text) to.push_back(static_cast<std::byte>(character));
}

std::vector<std::byte> wavHeader(std::uint32_t rate, std::uint32_t channels) {
  constexpr std::uint32_t kUnknown = 0xFFFFFFFF;
  std::vector<std::byte> header;
  put(header, "RIFF");
  put(header, kUnknown, 4);
  put(header, "WAVEfmt ");
  put(header, 16, 4);  // bytes of what follows up to "data"
  put(header, 1, 2);   // PCM
  put(header, channels, 2);
  put(header, rate, 4);
  put(header, 2 * channels * rate, 4);
  put(header, 2 * channels, 2);
  put(header, 16, 2);  // bits
  put(header, "data");
  put(header, kUnknown, 4);
  return header;
}

}  // namespace

void checkIsNoTerminal() {
  if (isatty(STDOUT_FILENO) != 0) {
    throw Failure(kName, "is a terminal; samples go to a pipe or a file");
  }
}

PipeSink::PipeSink(int rate, int channels, bool asWav) {
  checkIsNoTerminal();
  if (asWav) {
    bytes_ = wavHeader(static_cast<std::uint32_t>(rate), static_cast<std::uint32_t>(channels));
  }
}

void PipeSink::write(std::span<const Word16> interleaved) {
  for (const Word16 sample : interleaved) {
    const auto word = static_cast<std::uint16_t>(sample);
    bytes_.push_back(static_cast<std::byte>(word & 0xFF));
    bytes_.push_back(static_cast<std::byte>(word >> 8));
  }
  const int error = writeAll(STDOUT_FILENO, bytes_).error;
  // The same signal may have ended the reader.
  if (error == EPIPE && stopRequested()) throw Stopped();
  if (error != 0) throw Failure(kName, std::generic_category().message(error));
  bytes_.clear();
}

}  // namespace arvessa::app
