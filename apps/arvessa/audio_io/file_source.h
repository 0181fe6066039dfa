// SPDX-License-Identifier: Apache-2.0
#pragma once
// Recordings in every format that libsndfile reads, and streams whose header has been read.

#include <memory>

#include "audio_io/input_device.h"
#include "audio_io/sound_file.h"
#include "audio_io/source.h"
#include "audio_io/stream_header.h"

namespace arvessa::app {

class FileSource : public Source {
 public:
  // A recording with a header that libsndfile reads. Throws a Failure.
  explicit FileSource(std::unique_ptr<InputDevice> device);
  // The samples after a header, or those of an input without one.
  FileSource(std::unique_ptr<InputDevice> device, const StreamHeader& header);

  // Samples that are not finite numbers are read as 0 and complained about. At the end, throws a
  // Failure if no other ones have come.
  std::size_t read(std::span<float> to) override;
  std::int64_t framesRead() const override { return frames_; }
  std::string complaint() const override;
  std::string remedy() const override;
  std::string remark() const override;
  bool isLive() const override { return device_->isLive(); }

 private:
  struct Opened {
    std::unique_ptr<InputDevice> device;
    SoundFile file;
    SF_INFO info{};
    bool cutShort = false;
    std::int64_t frameBytes = 0;
    bool unfinished = false;
  };
  static Opened open(std::unique_ptr<InputDevice> device);
  static Opened open(std::unique_ptr<InputDevice> device, const StreamHeader& header);
  explicit FileSource(Opened opened);
  void finish();
  std::string whatIsMissing() const;

  std::unique_ptr<InputDevice> device_;
  SoundFile file_;
  bool exactLength_;
  bool cutShort_;
  std::int64_t frameBytes_;  // of samples without a header
  bool unfinished_;
  std::int64_t frames_ = 0;
  std::int64_t invalid_ = 0;
  bool ended_ = false;
};

}  // namespace arvessa::app
