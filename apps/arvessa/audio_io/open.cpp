// SPDX-License-Identifier: Apache-2.0
#include "audio_io/open.h"

#include <sys/stat.h>
#include <unistd.h>

#include "audio_io/file_format.h"
#include "audio_io/file_sink.h"
#include "audio_io/file_source.h"
#include "audio_io/raw_stream.h"

namespace arvessa::app {
namespace {

bool statusOf(const std::string& path, int standardStream, struct stat& status) {
  return (path == "-" ? fstat(standardStream, &status) : stat(path.c_str(), &status)) == 0;
}

}  // namespace

std::unique_ptr<Source> openSource(const std::string& path, const RawFormat& raw) {
  if (path == "-") return std::make_unique<RawSource>(raw.rate, raw.channels);
  return std::make_unique<FileSource>(path);
}

std::unique_ptr<Sink> openSink(const std::string& path, int rate, int channels, int format) {
  if (path == "-") return std::make_unique<RawSink>();
  return std::make_unique<FileSink>(path, rate, channels, format == 0 ? formatOf(path) : format);
}

bool isSameFile(const std::string& input, const std::string& output) {
  struct stat in {};
  struct stat out {};
  if (!statusOf(input, STDIN_FILENO, in) || !statusOf(output, STDOUT_FILENO, out)) return false;
  return S_ISREG(in.st_mode) && in.st_dev == out.st_dev && in.st_ino == out.st_ino;
}

}  // namespace arvessa::app
