#include "raw_stream.h"

#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <system_error>

namespace arvessa::tools {
namespace {

constexpr char kInputName[] = "standard input";
constexpr char kOutputName[] = "standard output";

std::string reasonOf(int error) { return std::generic_category().message(error); }

}  // namespace

RawSource::RawSource(int sampleRate, int channelCount)
    : Source(kInputName, sampleRate, channelCount, kUnknownLength) {}

std::size_t RawSource::read(std::span<float> to) {
  bytes_.resize(2 * to.size());
  std::size_t filled = 0;
  while (filled < bytes_.size()) {
    const ssize_t got = ::read(STDIN_FILENO, bytes_.data() + filled, bytes_.size() - filled);
    if (got == 0) break;
    if (got < 0 && errno != EINTR) throw Failure(name, reasonOf(errno));
    if (got > 0) filled += static_cast<std::size_t>(got);
  }
  const std::size_t frameBytes = 2 * static_cast<std::size_t>(channels);
  const std::size_t frames = filled / frameBytes;
  if (filled % frameBytes != 0) strayBytes_ = filled % frameBytes;
  for (std::size_t i = 0; i < frames * static_cast<std::size_t>(channels); ++i) {
    const auto word = static_cast<std::uint16_t>(bytes_[2 * i] | bytes_[2 * i + 1] << 8);
    to[i] = static_cast<float>(std::bit_cast<Word16>(word)) / 32768.0F;
  }
  frames_ += static_cast<std::int64_t>(frames);
  return frames;
}

std::string RawSource::complaint() const {
  if (strayBytes_ == 0) return {};
  return "truncated: the last " + std::to_string(strayBytes_) +
         (strayBytes_ == 1 ? " byte is" : " bytes are") + " not a whole sample of every channel";
}

RawSink::RawSink() {
  if (isatty(STDOUT_FILENO) != 0) {
    throw Failure(kOutputName, "is a terminal; raw samples go to a pipe or a file");
  }
}

void RawSink::write(std::span<const Word16> interleaved) {
  bytes_.clear();
  for (const Word16 sample : interleaved) {
    const auto word = static_cast<std::uint16_t>(sample);
    bytes_.push_back(static_cast<unsigned char>(word & 0xFF));
    bytes_.push_back(static_cast<unsigned char>(word >> 8));
  }
  writeAll(STDOUT_FILENO, bytes_.data(), bytes_.size(), kOutputName);
}

void writeAll(int fd, const void* data, std::size_t size, const std::string& name) {
  const auto* next = static_cast<const unsigned char*>(data);
  while (size > 0) {
    const ssize_t written = ::write(fd, next, size);
    if (written < 0 && errno != EINTR) throw Failure(name, reasonOf(errno));
    if (written > 0) {
      next += written;
      size -= static_cast<std::size_t>(written);
    }
  }
}

}  // namespace arvessa::tools
