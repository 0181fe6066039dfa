// SPDX-License-Identifier: Apache-2.0
#pragma once
// Where samples come from.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace arvessa::app {

inline constexpr std::int64_t kUnknownLength = -1;

// Interleaved samples, full scale +-1. 16-bit samples are represented exactly.
class Source {
 public:
  Source(std::string streamName, int sampleRate, int channelCount, std::int64_t frameCount)
      : name(std::move(streamName)), rate(sampleRate), channels(channelCount), length(frameCount) {}
  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;
  virtual ~Source() = default;

  // Fills `to`, which holds whole frames of `channels` samples. Returns the frames read: fewer than
  // asked for only at the end.
  virtual std::size_t read(std::span<float> to) = 0;

  // Frames of the recording itself that were read so far, at its own rate.
  virtual std::int64_t framesRead() const = 0;

  // Known at the end of the stream: what was wrong with it although it could be read; else empty.
  virtual std::string complaint() const { return {}; }

  const std::string name;
  const int rate;  // Hz
  const int channels;
  const std::int64_t length;  // frames, or kUnknownLength
};

// The whole of a source as one channel, the mean of its channels.
std::vector<float> readMono(Source& source);

}  // namespace arvessa::app
