// SPDX-License-Identifier: Apache-2.0
#include "audio_io/messages.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <iostream>
#include <mutex>
#include <span>
#include <streambuf>

#include "audio_io/descriptor.h"

namespace arvessa::app {
namespace {

std::atomic<int> messages = STDERR_FILENO;

class MessageBuffer : public std::streambuf {
 protected:
  int_type overflow(int_type character) override {
    const char one = traits_type::to_char_type(character);
    return xsputn(&one, 1) == 1 ? character : traits_type::eof();
  }
  std::streamsize xsputn(const char* text, std::streamsize count) override {
    const auto bytes = std::as_bytes(std::span(text, static_cast<std::size_t>(count)));
    return static_cast<std::streamsize>(writeAll(messages, bytes).bytes);
  }
};

}  // namespace

void keepMessagesApart() {
  static auto& buffer = *new MessageBuffer;  // std::cerr is used until the very end
  std::cerr.rdbuf(&buffer);
}

void silenceLibraries() {
  static std::once_flag once;
  std::call_once(once, [] {
    const int copy = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (copy >= 0 && nowhere >= 0) {
      messages = copy;
      dup2(nowhere, STDERR_FILENO);
    }
    if (nowhere >= 0) close(nowhere);
  });
}

int messageDescriptor() { return messages; }

}  // namespace arvessa::app
