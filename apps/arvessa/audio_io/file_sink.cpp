// SPDX-License-Identifier: Apache-2.0
#include "audio_io/file_sink.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "audio_io/descriptor.h"
#include "audio_io/errors.h"
#include "audio_io/file_format.h"
#include "audio_io/pipe_sink.h"
#include "audio_io/stop.h"

namespace arvessa::app {
namespace {

constexpr std::size_t kBlockSamples = 8192;

}  // namespace

SF_VIRTUAL_IO FileSink::deviceFunctions() {
  SF_VIRTUAL_IO io{};
  io.get_filelen = [](void* user) -> sf_count_t {
    const auto* device = static_cast<Device*>(user);
    struct stat status {};
    if (device->isPipe) return device->length;
    return fstat(device->fd, &status) == 0 ? status.st_size : -1;
  };
  io.seek = [](sf_count_t offset, int whence, void* user) -> sf_count_t {
    auto* device = static_cast<Device*>(user);
    if (!device->isPipe) return lseek(device->fd, offset, whence);
    if (whence == SEEK_CUR) offset += device->position;
    if (whence == SEEK_END) offset += device->length;
    return device->position = offset;
  };
  io.tell = [](void* user) -> sf_count_t {
    const auto* device = static_cast<Device*>(user);
    return device->isPipe ? device->position : lseek(device->fd, 0, SEEK_CUR);
  };
  io.read = [](void* to, sf_count_t count, void* user) -> sf_count_t {
    const auto* device = static_cast<Device*>(user);
    return device->isPipe ? 0 : ::read(device->fd, to, static_cast<std::size_t>(count));
  };
  io.write = [](const void* from, sf_count_t count, void* user) -> sf_count_t {
    return writeTo(*static_cast<Device*>(user),
                   {static_cast<const std::byte*>(from), static_cast<std::size_t>(count)});
  };
  return io;
}

sf_count_t FileSink::writeTo(Device& device, std::span<const std::byte> bytes) {
  const bool over = device.isPipe && device.position < device.length;
  const Transfer done = over ? Transfer{bytes.size(), 0} : writeAll(device.fd, bytes);
  if (device.error == 0) device.error = done.error;
  const auto count = static_cast<sf_count_t>(done.bytes);
  device.position += count;
  device.length = std::max(device.length, device.position);
  return count;
}

FileSink::FileSink(const std::string& path, int rate, int channels, int format)
    : name_(path == "-" ? "standard output" : path),
      format_(format),
      channels_(channels),
      device_{STDOUT_FILENO, path == "-"} {
  if (path == "-") {
    checkIsNoTerminal();
  } else {
    device_.fd = pending_.emplace(path).fd();
  }
  SF_INFO info{};
  info.samplerate = rate;
  info.channels = channels;
  info.format = format_;
  SF_VIRTUAL_IO io = deviceFunctions();
  const std::lock_guard lock(openingSoundFile());
  file_.reset(sf_open_virtual(&io, SFM_WRITE, &info, &device_));
  checkWritten();
  if (file_ == nullptr) throw Failure(name_, "cannot be written: " + lastErrorOf(nullptr));
}

void FileSink::write(std::span<const Word16> interleaved) {
  collected_.insert(collected_.end(), interleaved.begin(), interleaved.end());
  if (collected_.size() >= kBlockSamples) drain();
}

void FileSink::drain() {
  constexpr std::int64_t kMostSamples = 0x7FFF0000;  // 4 GiB less some header
  samples_ += static_cast<std::int64_t>(collected_.size());
  if (hasShortSizes(format_) && samples_ > kMostSamples) {
    throw Failure(name_, "would be larger than 4 GiB; use .w64, .caf or .flac");
  }
  const auto frames = static_cast<sf_count_t>(collected_.size()) / channels_;
  const sf_count_t written = sf_writef_short(file_.get(), collected_.data(), frames);
  checkWritten();
  if (written != frames) {
    throw Failure(name_, "cannot be written: " + lastErrorOf(file_.get()));
  }
  collected_.clear();
}

void FileSink::checkWritten() const {
  if (device_.error == 0) return;
  if (device_.isPipe && device_.error == EPIPE && stopRequested()) throw Stopped();
  throw Failure(name_, "cannot be written: " + std::generic_category().message(device_.error));
}

void FileSink::finish() {
  drain();
  const int error = sf_close(file_.release());
  checkWritten();
  if (error != 0) {
    throw Failure(name_, std::string("cannot be written: ") + sf_error_number(error));
  }
  if (pending_) pending_->commit();
}

}  // namespace arvessa::app
