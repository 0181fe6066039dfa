// SPDX-License-Identifier: Apache-2.0
// What comes from outside into the command: audio files and pipes, files of beams, command lines. The
// first byte says which. Whatever is refused must be refused with a message.
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "audio_io/errors.h"
#include "audio_io/messages.h"
#include "audio_io/open.h"
#include "audio_io/resampled.h"
#include "beams/beam_file.h"
#include "commands/command_line.h"
#include "fuzz.h"

namespace arvessa::fuzz {
namespace {

constexpr std::size_t kMostSamples = 1 << 18;  // that are read; a header may promise any number

Count filesRead("files and pipes read");
Count refused("refused with a message");

// A file or a pipe without a name.
struct Descriptors {
  Descriptors(std::span<const std::uint8_t> bytes, bool isPipe) {
    if (isPipe) {
      expect(pipe2(fds, O_NONBLOCK) == 0, "pipe");
    } else {
      fds[0] = fds[1] = memfd_create("input", 0);
    }
    const ssize_t written = write(fds[1], bytes.data(), bytes.size());
    expect(written == static_cast<ssize_t>(bytes.size()), "input");
    if (isPipe) close(fds[1]);
  }
  Descriptors(const Descriptors&) = delete;
  Descriptors& operator=(const Descriptors&) = delete;
  ~Descriptors() { close(fds[0]); }
  std::string path() const { return "/proc/self/fd/" + std::to_string(fds[0]); }

  int fds[2];
};

void readAudio(std::span<const std::uint8_t> bytes, bool isPipe) {
  const Descriptors input(bytes, isPipe);
  auto opened = app::openSource(input.path(), {16000, 1});
  const bool isConverted = opened->rate % 2 == 0;
  const auto source = isConverted ? app::resampled(std::move(opened), 8000) : std::move(opened);
  expect(source->channels > 0 && source->rate > 0, "a source has channels and a rate");
  std::vector<float> block(static_cast<std::size_t>(source->channels) * 500);
  std::size_t samples = 0, frames = 500;
  while (frames == 500 && samples < kMostSamples) {
    frames = source->read(block);
    samples += frames * static_cast<std::size_t>(source->channels);
    for (const float x : std::span(block).first(frames)) expect(x == x, "a number");
  }
  if (!source->complaint().empty()) expect(!source->remedy().empty(), "remedy");
  source->remark();
  filesRead += 1;
}

// Words of a command line between zeros. What they ask for is not done.
void readWords(std::span<const std::uint8_t> bytes) {
  std::string text(bytes.begin(), bytes.end());
  std::vector<char*> words;
  for (std::size_t at = 0; at < text.size(); at = text.find('\0', at) + 1) {
    words.push_back(&text[at]);
    if (text.find('\0', at) == std::string::npos) break;
  }
  std::string name = "arvessa";
  words.insert(words.begin(), name.data());
  app::readCommandLine(static_cast<int>(words.size()), words.data());
}

// Help, and what libraries say of MPEG audio, goes nowhere: reports have standard error.
void silence() {
  static const bool once = [] {
    const int errors = dup(STDERR_FILENO);
    app::silenceLibraries();
    dup2(STDERR_FILENO, STDOUT_FILENO);
    dup2(errors, STDERR_FILENO);
    return true;
  }();
  expect(once, "silence");
}

}  // namespace

void runInput(std::span<const std::uint8_t> bytes) {
  silence();
  if (bytes.empty()) return;
  const auto rest = bytes.subspan(1);
  try {
    switch (bytes.front()) {
      case 'B':
        beams::parseBeamFile({rest.begin(), rest.end()});
        break;
      case 'C':
        readWords(rest);
        break;
      default:
        readAudio(rest, bytes.front() == 'P' && rest.size() <= 65536);
    }
  } catch (const std::exception& error) {
    expect(*error.what() != '\0', "a message");
    refused += 1;
  }
}

}  // namespace arvessa::fuzz
