// SPDX-License-Identifier: Apache-2.0
#pragma once
// The bytes of an input: those of a file, or those of a pipe as they come in.

#include <sndfile.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace arvessa::app {

class InputDevice {
 public:
  static constexpr std::int64_t kUnknownSize = SF_COUNT_MAX;

  // "-" is standard input. Throws a Failure.
  explicit InputDevice(const std::string& path);
  InputDevice(const InputDevice&) = delete;
  InputDevice& operator=(const InputDevice&) = delete;
  ~InputDevice();

  const std::string& name() const { return name_; }
  // Whether it was opened as something else than a regular file. A stop of the program is then the
  // end of the bytes: what the pipe holds, and what follows in the next quarter of a second.
  bool isLive() const { return live_; }

  // Positions count from where the input was opened or, then, from the one of startAt().
  std::int64_t size() const;
  // For libsndfile it has this size, even if its bytes end before.
  void claim(std::int64_t size) { claimed_ = size; }
  std::int64_t position() const { return position_ - begin_; }
  void seek(std::int64_t position) { position_ = begin_ + position; }
  // Waits for exactly the bytes asked for; fewer come at the end or after an error.
  std::size_t read(std::span<std::byte> to);
  // Throws the error of a read as a Failure.
  void check() const;

  // Takes the rest of a pipe into a temporary file without a name, so that any position can be read.
  void spool();
  // From now on there is nothing but the `size` bytes after `position`.
  void startAt(std::int64_t position, std::int64_t size);
  // Takes what comes after them away, so that the writer of a pipe is not ended by it.
  void drain();

  // For libsndfile; their user data is the device.
  static SF_VIRTUAL_IO functions();

 private:
  using Clock = std::chrono::steady_clock;
  // More bytes at the position; none at the end.
  bool fill();
  std::size_t readFile(std::span<std::byte> to);
  std::size_t readPipe(std::span<std::byte> to);
  bool isOver();
  std::int64_t shownSize() const { return std::max(size(), claimed_); }

  std::string name_;
  int fd_;
  bool live_ = false;
  bool regular_ = false;
  bool recycles_ = false;  // the buffer; before, a pipe's is kept from the beginning on
  std::int64_t base_ = 0;  // of a file, where it was opened
  std::int64_t begin_ = 0;
  std::int64_t end_ = kUnknownSize;
  std::int64_t position_ = 0;
  std::int64_t claimed_ = 0;
  std::vector<std::byte> buffer_;
  std::int64_t bufferAt_ = 0;
  int error_ = 0;
  std::optional<Clock::time_point> deadline_;  // of a pipe, after the stop was asked for
  std::int64_t owed_ = 0;                      // bytes that it held by then
};

}  // namespace arvessa::app
