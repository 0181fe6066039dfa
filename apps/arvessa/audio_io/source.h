// SPDX-License-Identifier: Apache-2.0
#pragma once
// Where samples come from.

#include <cstddef>
#include <cstdint>
#include <memory>
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

  // What the samples that were read, and with them an output, have of what is complained about:
  // "holds what there is".
  virtual std::string remedy() const { return {}; }

  // Known at the end of the stream: what people should know about it although nothing is lost; else
  // empty.
  virtual std::string remark() const { return {}; }

  // Whether the samples come in as they are made: anything that is not a regular file.
  virtual bool isLive() const { return false; }

  const std::string name;
  const int rate;  // Hz
  const int channels;
  const std::int64_t length;  // frames, or kUnknownLength
};

// A source that makes its samples out of another's.
class DerivedSource : public Source {
 public:
  DerivedSource(std::unique_ptr<Source>&& from, int sampleRate, int channelCount)
      : Source(from->name, sampleRate, channelCount,
               from->length < 0 ? kUnknownLength : from->length * sampleRate / from->rate),
        inner_(std::move(from)) {}
  std::int64_t framesRead() const override { return inner_->framesRead(); }
  std::string complaint() const override { return inner_->complaint(); }
  std::string remedy() const override { return inner_->remedy(); }
  std::string remark() const override { return inner_->remark(); }
  bool isLive() const override { return inner_->isLive(); }

 protected:
  Source& inner() { return *inner_; }

 private:
  std::unique_ptr<Source> inner_;
};

// The whole of a source as one channel, the mean of its channels.
std::vector<float> readMono(Source& source);

}  // namespace arvessa::app
