// SPDX-License-Identifier: Apache-2.0
#pragma once
// 16-bit audio files in every format that libsndfile writes.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "audio_io/pending_file.h"
#include "audio_io/sink.h"
#include "audio_io/sound_file.h"

namespace arvessa::app {

// A file of libsndfile's `format`, which appears in finish(). "-" is standard output, if the format
// can be piped.
class FileSink : public Sink {
 public:
  FileSink(const std::string& path, int rate, int channels, int format);
  void write(std::span<const Word16> interleaved) override;
  void finish() override;

 private:
  // Hands the samples collected so far to libsndfile.
  void drain();
  void checkWritten() const;

  // What libsndfile's virtual I/O writes to; keeps the first error, which libsndfile loses. A header
  // that has gone into a pipe stays as it is: what is written over it is dropped.
  struct Device {
    int fd;
    bool isPipe;
    int error = 0;
    std::int64_t position = 0;  // in a pipe
    std::int64_t length = 0;
  };
  static SF_VIRTUAL_IO deviceFunctions();
  static sf_count_t writeTo(Device& device, std::span<const std::byte> bytes);

  std::string name_;
  std::optional<PendingFile> pending_;
  int format_;
  int channels_;
  Device device_;
  SoundFile file_;
  std::vector<Word16> collected_;
  std::int64_t samples_ = 0;  // handed to libsndfile
};

}  // namespace arvessa::app
