// SPDX-License-Identifier: Apache-2.0
#include "audio_io/input_device.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "audio_io/descriptor.h"
#include "audio_io/errors.h"
#include "audio_io/stop.h"

namespace arvessa::app {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t kBlock = 65536;
constexpr std::size_t kLongestBeginning = 16U << 20;  // of a pipe, kept until the samples begin
constexpr auto kGrace = 250ms;                        // for a writer that the same signal ends

std::string reasonOf(int error) { return std::generic_category().message(error); }

int temporaryFile() {
  std::error_code error;
  std::string path = std::filesystem::temp_directory_path(error).string();
  if (error) path = "/tmp";
  const int unnamed = open(path.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
  if (unnamed >= 0) return unnamed;
  path += "/arvessa-XXXXXX";
  const int named = mkostemp(path.data(), O_CLOEXEC);
  if (named >= 0) unlink(path.c_str());
  return named;
}

InputDevice& deviceOf(void* user) { return *static_cast<InputDevice*>(user); }

}  // namespace

InputDevice::InputDevice(const std::string& path)
    : name_(path == "-" ? "standard input" : path),
      fd_(path == "-" ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
  struct stat status {};
  if (fd_ < 0 || fstat(fd_, &status) != 0) throw Failure(name_, reasonOf(errno));
  regular_ = S_ISREG(status.st_mode);
  live_ = !regular_;
  if (path == "-" && regular_) base_ = std::max<off_t>(0, lseek(fd_, 0, SEEK_CUR));
  if (regular_) end_ = std::max<std::int64_t>(0, status.st_size - base_);
  if (!S_ISDIR(status.st_mode) && end_ > 0) return;
  if (fd_ != STDIN_FILENO) close(fd_);
  throw Failure(name_, S_ISDIR(status.st_mode) ? "is a directory" : "is empty");
}

InputDevice::~InputDevice() {
  if (fd_ != STDIN_FILENO) close(fd_);
}

std::int64_t InputDevice::size() const {
  return end_ == kUnknownSize ? kUnknownSize : end_ - begin_;
}

std::size_t InputDevice::read(std::span<std::byte> to) {
  const auto left = static_cast<std::uint64_t>(std::max<std::int64_t>(0, end_ - position_));
  if (left < to.size()) to = to.first(static_cast<std::size_t>(left));
  std::size_t done = 0;
  while (done < to.size()) {
    const std::int64_t offset = position_ - bufferAt_;
    if (offset < 0 || offset >= static_cast<std::int64_t>(buffer_.size())) {
      if (!fill()) break;
      continue;
    }
    const auto available = std::span(buffer_).subspan(static_cast<std::size_t>(offset));
    const std::size_t count = std::min(available.size(), to.size() - done);
    std::copy_n(available.begin(), count, to.begin() + static_cast<std::ptrdiff_t>(done));
    done += count;
    position_ += static_cast<std::int64_t>(count);
  }
  return done;
}

bool InputDevice::fill() {
  const auto bufferEnd = bufferAt_ + static_cast<std::int64_t>(buffer_.size());
  if (regular_ || recycles_) {
    bufferAt_ = regular_ ? position_ : bufferEnd;
    buffer_.clear();
  }
  // A pipe cannot go back, and its beginning is not kept without a limit.
  const std::size_t kept = buffer_.size();
  if (!regular_ && (position_ < bufferAt_ || kept > kLongestBeginning)) return false;
  buffer_.resize(kept + kBlock);
  const auto free = std::span(buffer_).subspan(kept);
  const std::size_t got = regular_ ? readFile(free) : readPipe(free);
  buffer_.resize(kept + got);
  return got > 0;
}

std::size_t InputDevice::readFile(std::span<std::byte> to) {
  ssize_t got = -1;
  do {
    got = pread(fd_, to.data(), to.size(), base_ + position_);
  } while (got < 0 && errno == EINTR);
  if (got < 0) error_ = errno;
  return static_cast<std::size_t>(std::max<ssize_t>(0, got));
}

// Whether the program was asked to stop and all has been read that is read nevertheless.
bool InputDevice::isOver() {
  if (!stopRequested()) return false;
  if (!deadline_) {
    int held = 0;
    if (ioctl(fd_, FIONREAD, &held) == 0) owed_ = held;
    deadline_ = Clock::now() + kGrace;
  }
  return owed_ <= 0 && Clock::now() >= *deadline_;
}

std::size_t InputDevice::readPipe(std::span<std::byte> to) {
  while (!isOver()) {
    std::array<pollfd, 2> waiting = {
        {{fd_, POLLIN, 0}, {deadline_ ? -1 : stopDescriptor(), POLLIN, 0}}};
    const int ready = poll(waiting.data(), waiting.size(), deadline_ ? 10 : -1);
    if (ready <= 0 || waiting[0].revents == 0) continue;
    const ssize_t got = ::read(fd_, to.data(), to.size());
    if (got == 0) awaitPendingStop();
    if (got >= 0) {
      owed_ -= got;
      return static_cast<std::size_t>(got);
    }
    if (errno == EINTR || errno == EAGAIN) continue;
    error_ = errno;
    break;
  }
  return 0;
}

void InputDevice::check() const {
  if (error_ != 0) throw Failure(name_, reasonOf(error_));
}

void InputDevice::spool() {
  if (regular_) return;
  const int file = temporaryFile();
  Transfer kept{0, file < 0 ? errno : 0};
  while (kept.error == 0 && !buffer_.empty()) {
    kept = writeAll(file, buffer_);
    end_ = end_ == kUnknownSize ? 0 : end_;
    end_ += static_cast<std::int64_t>(kept.bytes);
    buffer_.resize(kBlock);
    buffer_.resize(readPipe(buffer_));
  }
  if (fd_ != STDIN_FILENO && file >= 0) close(fd_);
  if (file >= 0) fd_ = file;
  if (kept.error != 0) {
    throw Failure(name_, "cannot be kept in a temporary file: " + reasonOf(kept.error));
  }
  check();
  regular_ = true;
  bufferAt_ = 0;
  position_ = 0;
}

void InputDevice::startAt(std::int64_t position, std::int64_t size) {
  begin_ += position;
  if (size < end_ - begin_) end_ = begin_ + size;
  position_ = begin_;
  recycles_ = true;
}

void InputDevice::drain() {
  if (regular_ || end_ == kUnknownSize) return;
  buffer_.resize(kBlock);
  while (readPipe(buffer_) > 0) {
  }
}

SF_VIRTUAL_IO InputDevice::functions() {
  SF_VIRTUAL_IO io{};
  io.get_filelen = [](void* user) -> sf_count_t { return deviceOf(user).shownSize(); };
  io.seek = [](sf_count_t offset, int whence, void* user) -> sf_count_t {
    InputDevice& device = deviceOf(user);
    const std::int64_t from = whence == SEEK_SET   ? 0
                              : whence == SEEK_CUR ? device.position()
                                                   : device.shownSize();
    if (offset < -from) return -1;
    device.seek(from + offset);
    return device.position();
  };
  io.tell = [](void* user) -> sf_count_t { return deviceOf(user).position(); };
  io.read = [](void* to, sf_count_t count, void* user) -> sf_count_t {
    return static_cast<sf_count_t>(deviceOf(user).read(
        {static_cast<std::byte*>(to), static_cast<std::size_t>(std::max<sf_count_t>(0, count))}));
  };
  io.write = [](const void*, sf_count_t, void*) -> sf_count_t { return 0; };
  return io;
}

}  // namespace arvessa::app
