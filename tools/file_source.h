#pragma once
// Recordings in every format that libsndfile reads.

#include <vector>

#include "sound_file.h"
#include "stream.h"

namespace arvessa::tools {

class FileSource : public Source {
 public:
  explicit FileSource(const std::string& path);
  // Samples that are not finite numbers are read as 0 and complained about.
  std::size_t read(std::span<float> to) override;
  std::int64_t framesRead() const override { return frames_; }
  std::string complaint() const override;

 private:
  struct Opened {
    SoundFile file;
    SF_INFO info;
  };
  static Opened open(const std::string& path);
  FileSource(const std::string& path, Opened opened);

  SoundFile file_;
  bool exactLength_;
  bool cutShort_;
  std::int64_t frames_ = 0;
  std::int64_t invalid_ = 0;
  bool ended_ = false;
};

// The whole of a source as one channel, the mean of its channels.
std::vector<float> readMono(Source& source);

}  // namespace arvessa::tools
