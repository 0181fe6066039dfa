// SPDX-License-Identifier: Apache-2.0
#pragma once
// 16-bit audio files in every format that libsndfile writes.

#include <cstdint>
#include <vector>

#include "audio_io/pending_file.h"
#include "audio_io/sink.h"
#include "audio_io/sound_file.h"

namespace arvessa::app {

// A file of libsndfile's `format`; it appears in finish().
class FileSink : public Sink {
 public:
  FileSink(const std::string& path, int rate, int channels, int format);
  void write(std::span<const Word16> interleaved) override;
  void finish() override;

 private:
  // Hands the samples collected so far to libsndfile.
  void drain();
  void checkWritten() const;

  // The file as libsndfile's virtual I/O sees it; keeps the first error, which libsndfile loses.
  struct Device {
    int fd;
    int error;
  };
  static SF_VIRTUAL_IO deviceFunctions();

  PendingFile pending_;
  int format_;
  int channels_;
  Device device_;
  SoundFile file_;
  std::vector<Word16> collected_;
  std::int64_t samples_ = 0;  // handed to libsndfile
};

}  // namespace arvessa::app
