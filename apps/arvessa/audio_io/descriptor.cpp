// SPDX-License-Identifier: Apache-2.0
#include "audio_io/descriptor.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>

namespace arvessa::app {
namespace {

// After a failed read or write: whether to try again, having waited if the stream does not.
bool mayGoOn(int fd, short event) {
  if (errno == EAGAIN) {
    pollfd waiting = {fd, event, 0};
    return poll(&waiting, 1, -1) >= 0 || errno == EINTR;
  }
  return errno == EINTR;
}

}  // namespace

Transfer writeAll(int fd, std::span<const std::byte> from) {
  Transfer done;
  while (done.bytes < from.size()) {
    const ssize_t written = ::write(fd, from.data() + done.bytes, from.size() - done.bytes);
    if (written > 0) {
      done.bytes += static_cast<std::size_t>(written);
    } else if (written == 0) {
      done.error = EIO;
      break;
    } else if (!mayGoOn(fd, POLLOUT)) {
      done.error = errno;
      break;
    }
  }
  return done;
}

}  // namespace arvessa::app
