#include "raw_stream.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <iterator>
#include <string_view>
#include <system_error>

namespace arvessa::tools {
namespace {

constexpr char kInputName[] = "standard input";
constexpr char kOutputName[] = "standard output";

std::string reasonOf(int error) { return std::generic_category().message(error); }

// After a failed read or write: whether to try again, having waited if the stream does not.
bool mayGoOn(int fd, short event) {
  if (errno == EAGAIN) {
    pollfd waiting = {fd, event, 0};
    return poll(&waiting, 1, -1) >= 0 || errno == EINTR;
  }
  return errno == EINTR;
}

// What an audio file begins with that was taken for raw samples.
bool beginsLikeFile(std::span<const unsigned char> bytes) {
  constexpr std::string_view kBeginnings[] = {"RIFF", "RF64", "FORM", "fLaC", "OggS", "caff"};
  const std::string_view begin(reinterpret_cast<const char*>(bytes.data()),
                               std::min<std::size_t>(bytes.size(), 4));
  return std::find(std::begin(kBeginnings), std::end(kBeginnings), begin) != std::end(kBeginnings);
}

}  // namespace

RawSource::RawSource(int sampleRate, int channelCount)
    : Source(kInputName, sampleRate, channelCount, kUnknownLength) {}

std::size_t RawSource::read(std::span<float> to) {
  bytes_.resize(2 * to.size());
  std::size_t filled = 0;
  while (filled < bytes_.size()) {
    const ssize_t got = ::read(STDIN_FILENO, bytes_.data() + filled, bytes_.size() - filled);
    if (got == 0) break;
    if (got < 0 && !mayGoOn(STDIN_FILENO, POLLIN)) throw Failure(name, reasonOf(errno));
    if (got > 0) filled += static_cast<std::size_t>(got);
  }
  if (frames_ == 0 && beginsLikeFile(std::span(bytes_).first(filled))) {
    throw Failure(name, "begins like an audio file; only raw samples can be read there");
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
    if (written < 0 && !mayGoOn(fd, POLLOUT)) throw Failure(name, reasonOf(errno));
    if (written > 0) {
      next += written;
      size -= static_cast<std::size_t>(written);
    }
  }
}

}  // namespace arvessa::tools
