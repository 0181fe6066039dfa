// SPDX-License-Identifier: Apache-2.0
#include "audio_io/file_source.h"

#include <algorithm>
#include <cmath>
#include <mutex>
#include <utility>

#include "audio_io/claimed_size.h"
#include "audio_io/errors.h"
#include "audio_io/messages.h"
#include "audio_io/recognition.h"
#include "audio_io/stop.h"

namespace arvessa::app {
namespace {

std::string counted(std::int64_t count, const char* one, const char* more) {
  return std::to_string(count) + (count == 1 ? one : more);
}

SoundFile openSound(InputDevice& device, SF_INFO& info) {
  device.seek(0);
  SF_VIRTUAL_IO io = InputDevice::functions();
  const std::lock_guard lock(openingSoundFile());
  SoundFile file(sf_open_virtual(&io, SFM_READ, &info, &device));
  device.check();
  return file;
}

}  // namespace

FileSource::Opened FileSource::open(std::unique_ptr<InputDevice> device) {
  const Beginning beginning = recognise(*device);
  const int frames = mpegFrames(*device);
  Opened opened;
  opened.cutShort = isCutOgg(*device);
  device->claim(claimedSize(*device));
  if (beginning == Beginning::kMpeg) silenceLibraries();
  if (frames != 1) opened.file = openSound(*device, opened.info);
  if (opened.file == nullptr) {
    const bool isDamaged = beginning == Beginning::kAudioFile;
    throw Failure(device->name(),
                  isDamaged ? "is damaged, or not readable as audio" : "is not readable as audio");
  }
  opened.device = std::move(device);
  return opened;
}

FileSource::Opened FileSource::open(std::unique_ptr<InputDevice> device,
                                    const StreamHeader& header) {
  Opened opened;
  opened.info.samplerate = header.rate;
  opened.info.channels = header.channels;
  opened.info.format = header.format;
  opened.frameBytes = header.frameBytes;
  opened.unfinished = header.unfinished;
  device->startAt(header.samplesAt, header.size);
  opened.file = openSound(*device, opened.info);
  if (opened.file == nullptr) throw Failure(device->name(), "is not readable as audio");
  if (device->size() == InputDevice::kUnknownSize) opened.info.frames = SF_COUNT_MAX;
  opened.device = std::move(device);
  return opened;
}

FileSource::FileSource(std::unique_ptr<InputDevice> device) : FileSource(open(std::move(device))) {}

FileSource::FileSource(std::unique_ptr<InputDevice> device, const StreamHeader& header)
    : FileSource(open(std::move(device), header)) {}

FileSource::FileSource(Opened opened)
    : Source(opened.device->name(), opened.info.samplerate, opened.info.channels,
             opened.info.frames == SF_COUNT_MAX ? kUnknownLength : opened.info.frames),
      device_(std::move(opened.device)),
      file_(std::move(opened.file)),
      exactLength_((opened.info.format & SF_FORMAT_TYPEMASK) != SF_FORMAT_MPEG),
      cutShort_(opened.cutShort),
      frameBytes_(opened.frameBytes),
      unfinished_(opened.unfinished) {}

std::size_t FileSource::read(std::span<float> to) {
  if (ended_) return 0;
  const auto wanted = static_cast<sf_count_t>(to.size()) / channels;
  const sf_count_t got = std::max<sf_count_t>(0, sf_readf_float(file_.get(), to.data(), wanted));
  device_->check();
  frames_ += got;
  for (float& sample : to.first(static_cast<std::size_t>(got * channels))) {
    if (!std::isfinite(sample)) {
      sample = 0;
      ++invalid_;
    }
  }
  if (got < wanted) finish();
  return static_cast<std::size_t>(got);
}

void FileSource::finish() {
  ended_ = true;
  device_->drain();
  if (frames_ > 0 && invalid_ == frames_ * channels) {
    throw Failure(name, "holds no samples that are finite numbers");
  }
}

std::string FileSource::whatIsMissing() const {
  if (!ended_ || (isLive() && stopRequested())) return {};
  if (sf_error(file_.get()) != SF_ERR_NO_ERROR) return "damaged: " + lastErrorOf(file_.get());
  if (exactLength_ && frames_ < length) {
    return "truncated: ends after " + std::to_string(frames_) + " of " + std::to_string(length) +
           " samples";
  }
  if (cutShort_) {
    return "truncated: ends after " + std::to_string(frames_) +
           " samples, without the mark of its end";
  }
  const std::int64_t stray = frameBytes_ == 0 ? 0 : device_->position() % frameBytes_;
  if (stray == 0 || unfinished_) return {};
  return "truncated: the last " + counted(stray, " byte is", " bytes are") +
         " not a whole sample of every channel";
}

std::string FileSource::complaint() const {
  std::string missing = whatIsMissing();
  if (invalid_ == 0) return missing;
  return counted(invalid_, " sample is not a finite number", " samples are not finite numbers") +
         (missing.empty() ? "" : "; ") + missing;
}

std::string FileSource::remedy() const {
  if (invalid_ > 0) return "has silence in their place";
  return "holds what there is";
}

std::string FileSource::remark() const {
  if (!unfinished_ || isLive()) return {};
  return "its sizes are 0, as a recorder leaves them that was ended; read to the end";
}

}  // namespace arvessa::app
