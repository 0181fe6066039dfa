// SPDX-License-Identifier: Apache-2.0
#include "audio_io/file_sink.h"

#include <sys/stat.h>
#include <unistd.h>

#include <system_error>

#include "audio_io/descriptor.h"
#include "audio_io/errors.h"
#include "audio_io/file_format.h"

namespace arvessa::app {
namespace {

constexpr std::size_t kBlockSamples = 8192;

}  // namespace

SF_VIRTUAL_IO FileSink::deviceFunctions() {
  SF_VIRTUAL_IO io{};
  io.get_filelen = [](void* user) -> sf_count_t {
    struct stat status {};
    return fstat(static_cast<Device*>(user)->fd, &status) == 0 ? status.st_size : -1;
  };
  io.seek = [](sf_count_t offset, int whence, void* user) -> sf_count_t {
    return lseek(static_cast<Device*>(user)->fd, offset, whence);
  };
  io.tell = [](void* user) -> sf_count_t {
    return lseek(static_cast<Device*>(user)->fd, 0, SEEK_CUR);
  };
  io.read = [](void* to, sf_count_t count, void* user) -> sf_count_t {
    return ::read(static_cast<Device*>(user)->fd, to, static_cast<std::size_t>(count));
  };
  io.write = [](const void* from, sf_count_t count, void* user) -> sf_count_t {
    auto* device = static_cast<Device*>(user);
    const Transfer done = writeAll(
        device->fd, {static_cast<const std::byte*>(from), static_cast<std::size_t>(count)});
    if (device->error == 0) device->error = done.error;
    return static_cast<sf_count_t>(done.bytes);
  };
  return io;
}

FileSink::FileSink(const std::string& path, int rate, int channels, int format)
    : pending_(path), format_(format), channels_(channels), device_{pending_.fd(), 0} {
  SF_INFO info{};
  info.samplerate = rate;
  info.channels = channels;
  info.format = format_;
  SF_VIRTUAL_IO io = deviceFunctions();
  const std::lock_guard lock(openingSoundFile());
  file_.reset(sf_open_virtual(&io, SFM_WRITE, &info, &device_));
  checkWritten();
  if (file_ == nullptr) throw Failure(path, "cannot be written: " + lastErrorOf(nullptr));
}

void FileSink::write(std::span<const Word16> interleaved) {
  collected_.insert(collected_.end(), interleaved.begin(), interleaved.end());
  if (collected_.size() >= kBlockSamples) drain();
}

void FileSink::drain() {
  constexpr std::int64_t kMostSamples = 0x7FFF0000;  // 4 GiB less some header
  samples_ += static_cast<std::int64_t>(collected_.size());
  if (hasShortSizes(format_) && samples_ > kMostSamples) {
    throw Failure(pending_.path(), "would be larger than 4 GiB; use .w64, .caf or .flac");
  }
  const auto frames = static_cast<sf_count_t>(collected_.size()) / channels_;
  const sf_count_t written = sf_writef_short(file_.get(), collected_.data(), frames);
  checkWritten();
  if (written != frames) {
    throw Failure(pending_.path(), "cannot be written: " + lastErrorOf(file_.get()));
  }
  collected_.clear();
}

void FileSink::checkWritten() const {
  if (device_.error == 0) return;
  throw Failure(pending_.path(),
                "cannot be written: " + std::generic_category().message(device_.error));
}

void FileSink::finish() {
  drain();
  const int error = sf_close(file_.release());
  checkWritten();
  if (error != 0) {
    throw Failure(pending_.path(), std::string("cannot be written: ") + sf_error_number(error));
  }
  pending_.commit();
}

}  // namespace arvessa::app
