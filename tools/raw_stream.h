#pragma once
// Raw 16-bit little-endian interleaved samples on standard input and output.

#include <vector>

#include "stream.h"

namespace arvessa::tools {

class RawSource : public Source {
 public:
  RawSource(int sampleRate, int channelCount);
  // Waits for exactly the samples asked for, so that a frame can be answered as soon as it is
  // there.
  std::size_t read(std::span<float> to) override;
  std::int64_t framesRead() const override { return frames_; }
  std::string complaint() const override;

 private:
  std::vector<unsigned char> bytes_;
  std::int64_t frames_ = 0;
  std::size_t strayBytes_ = 0;  // after the last whole frame
};

// Writes at once, without a buffer of its own.
class RawSink : public Sink {
 public:
  RawSink();
  void write(std::span<const Word16> interleaved) override;
  void finish() override {}

 private:
  std::vector<unsigned char> bytes_;
};

// Writes everything or throws a Failure that names `name`.
void writeAll(int fd, const void* data, std::size_t size, const std::string& name);

}  // namespace arvessa::tools
