// SPDX-License-Identifier: Apache-2.0
// The command `arvessa`.

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <iostream>
#include <new>
#include <string>
#include <system_error>

#include "audio_io/errors.h"
#include "audio_io/messages.h"
#include "audio_io/stop.h"
#include "commands/command_line.h"

namespace {

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

// A standard stream that the caller has closed is replaced by one that refuses to be used, so that
// no output file gets its number.
void occupyStandardStreams() {
  for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(fd, F_GETFD) >= 0) continue;
    const int opened = open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    if (opened >= 0 && opened != fd) dup2(opened, fd);
  }
}

int complain(const std::string& text, int code) {
  std::cerr << "arvessa: " + arvessa::app::printable(text) + '\n';
  return code;
}

}  // namespace

int main(int argc, char** argv) {
  occupyStandardStreams();
  arvessa::app::keepMessagesApart();
  int code = kFailed;
  try {
    arvessa::app::takeOverSignals();
    code = arvessa::app::readCommandLine(argc, argv)();
  } catch (const arvessa::app::UsageError& error) {
    code = complain(error.what(), kWrongUsage);
  } catch (const std::bad_alloc&) {
    complain("out of memory", kFailed);
  } catch (const std::exception& error) {
    complain(error.what(), kFailed);
  }
  errno = 0;
  if (!std::cout.flush()) {
    const std::string reason = errno == 0 ? "" : ": " + std::generic_category().message(errno);
    return complain("standard output: cannot be written" + reason, kFailed);
  }
  return code;
}
