#pragma once
// 16-bit audio files in every format that libsndfile writes.

#include <vector>

#include "pending_file.h"
#include "sound_file.h"
#include "stream.h"

namespace arvessa::tools {

// A 16-bit file of the format that the extension of its name stands for; it appears in finish().
class FileSink : public Sink {
 public:
  FileSink(const std::string& path, int rate, int channels);
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

// Throws a UsageError unless a FileSink can be made of this name.
void checkWritableFormat(const std::string& path);

}  // namespace arvessa::tools
