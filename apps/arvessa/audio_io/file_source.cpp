// SPDX-License-Identifier: Apache-2.0
#include "audio_io/file_source.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <mutex>
#include <system_error>
#include <utility>

#include "audio_io/claimed_size.h"
#include "audio_io/errors.h"

namespace arvessa::app {
FileSource::Opened FileSource::open(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) throw Failure(path, std::generic_category().message(errno));
  struct stat status {};
  const bool regular = fstat(fd, &status) == 0 && S_ISREG(status.st_mode);
  if (S_ISDIR(status.st_mode) || (regular && status.st_size == 0)) {
    close(fd);
    throw Failure(path, S_ISDIR(status.st_mode) ? "is a directory" : "is empty");
  }
  Opened opened{};
  opened.cutShort = regular && endsBeforeItsSamples(fd, status.st_size);
  const std::lock_guard lock(openingSoundFile());
  opened.file.reset(sf_open_fd(fd, SFM_READ, &opened.info, SF_TRUE));
  if (opened.file == nullptr) {
    throw Failure(path, "is not readable as audio (" + lastErrorOf(nullptr) + ")");
  }
  return opened;
}

FileSource::FileSource(const std::string& path) : FileSource(path, open(path)) {}

FileSource::FileSource(const std::string& path, Opened opened)
    : Source(path, opened.info.samplerate, opened.info.channels,
             opened.info.frames == SF_COUNT_MAX ? kUnknownLength : opened.info.frames),
      file_(std::move(opened.file)),
      exactLength_((opened.info.format & SF_FORMAT_TYPEMASK) != SF_FORMAT_MPEG),
      cutShort_(opened.cutShort) {}

std::size_t FileSource::read(std::span<float> to) {
  const auto wanted = static_cast<sf_count_t>(to.size()) / channels;
  const sf_count_t got = std::max<sf_count_t>(0, sf_readf_float(file_.get(), to.data(), wanted));
  frames_ += got;
  ended_ = got < wanted;
  for (float& sample : to.first(static_cast<std::size_t>(got * channels))) {
    if (!std::isfinite(sample)) {
      sample = 0;
      ++invalid_;
    }
  }
  return static_cast<std::size_t>(got);
}

std::string FileSource::complaint() const {
  if (invalid_ > 0) {
    return "holds samples that are not finite numbers (" + std::to_string(invalid_) + ")";
  }
  if (!ended_) return {};
  if (sf_error(file_.get()) != SF_ERR_NO_ERROR) return lastErrorOf(file_.get());
  if (exactLength_ && frames_ < length) {
    return "truncated: ends after " + std::to_string(frames_) + " of " + std::to_string(length) +
           " samples";
  }
  if (cutShort_) {
    return "truncated: ends after " + std::to_string(frames_) +
           " samples, its header tells of more";
  }
  return {};
}

}  // namespace arvessa::app
