#pragma once
// Streams of interleaved samples: where a command takes them from and where it puts them.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>

#include "ArvessaTypes.h"
#include "text.h"

namespace arvessa::tools {

// What went wrong with a named file or stream, ready to be shown. Ends the work on that input.
class Failure : public std::runtime_error {
 public:
  Failure(const std::string& name, const std::string& reason)
      : std::runtime_error(shownName(name) + ": " + reason) {}
};

// A command line that asks for something that makes no sense.
class UsageError : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

inline constexpr std::int64_t kUnknownLength = -1;

// Samples, full scale +-1. 16-bit samples are represented exactly.
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

// 16-bit samples. Nothing may be taken as written before finish() has returned.
class Sink {
 public:
  Sink() = default;
  Sink(const Sink&) = delete;
  Sink& operator=(const Sink&) = delete;
  virtual ~Sink() = default;
  virtual void write(std::span<const Word16> interleaved) = 0;
  virtual void finish() = 0;
};

// "-" stands for raw samples on standard input and output; a raw input has `rawRate` and
// `rawChannels`.
std::unique_ptr<Source> openSource(const std::string& path, int rawRate, int rawChannels);
std::unique_ptr<Sink> openSink(const std::string& path, int rate, int channels);

// Whether both paths lead to the same file, through whatever links. "-" is the file that standard
// input (as input) or standard output (as output) comes from.
bool isSameFile(const std::string& input, const std::string& output);

}  // namespace arvessa::tools
