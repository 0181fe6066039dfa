// SPDX-License-Identifier: Apache-2.0
#include "audio_io/raw_stream.h"

#include <unistd.h>

#include <algorithm>
#include <bit>
#include <iterator>
#include <string_view>
#include <system_error>

#include "audio_io/descriptor.h"
#include "audio_io/errors.h"
#include "audio_io/pcm.h"

namespace arvessa::app {
namespace {

constexpr char kInputName[] = "standard input";
constexpr char kOutputName[] = "standard output";

// What an audio file begins with that was taken for raw samples.
bool beginsLikeFile(std::span<const std::byte> bytes) {
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
  const Transfer got = readAll(STDIN_FILENO, bytes_);
  if (got.error != 0) throw Failure(name, std::generic_category().message(got.error));
  if (frames_ == 0 && beginsLikeFile(std::span(bytes_).first(got.bytes))) {
    throw Failure(name, "begins like an audio file; only raw samples can be read there");
  }
  const std::size_t frameBytes = 2 * static_cast<std::size_t>(channels);
  const std::size_t frames = got.bytes / frameBytes;
  if (got.bytes % frameBytes != 0) strayBytes_ = got.bytes % frameBytes;
  for (std::size_t i = 0; i < frames * static_cast<std::size_t>(channels); ++i) {
    const unsigned word = std::to_integer<unsigned>(bytes_[2 * i]) |
                          std::to_integer<unsigned>(bytes_[2 * i + 1]) << 8;
    to[i] = fromPcm(std::bit_cast<Word16>(static_cast<std::uint16_t>(word)));
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
    bytes_.push_back(static_cast<std::byte>(word & 0xFF));
    bytes_.push_back(static_cast<std::byte>(word >> 8));
  }
  const int error = writeAll(STDOUT_FILENO, bytes_).error;
  if (error != 0) throw Failure(kOutputName, std::generic_category().message(error));
}

}  // namespace arvessa::app
