// SPDX-License-Identifier: Apache-2.0
#pragma once
// Recordings in every format that libsndfile reads.

#include "audio_io/sound_file.h"
#include "audio_io/source.h"

namespace arvessa::app {

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
    bool cutShort;  // by its own header
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

}  // namespace arvessa::app
