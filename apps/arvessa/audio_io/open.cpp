// SPDX-License-Identifier: Apache-2.0
#include "audio_io/open.h"

#include <sys/stat.h>
#include <unistd.h>

#include <optional>
#include <utility>

#include "audio_io/errors.h"
#include "audio_io/file_format.h"
#include "audio_io/file_sink.h"
#include "audio_io/file_source.h"
#include "audio_io/input_device.h"
#include "audio_io/pipe_sink.h"
#include "audio_io/recognition.h"
#include "audio_io/stream_header.h"

namespace arvessa::app {
namespace {

bool statusOf(const std::string& path, int standardStream, struct stat& status) {
  return (path == "-" ? fstat(standardStream, &status) : stat(path.c_str(), &status)) == 0;
}

StreamHeader headerOf(const RawFormat& raw) {
  StreamHeader header;
  header.rate = raw.rate;
  header.channels = raw.channels;
  header.format = SF_FORMAT_RAW | SF_FORMAT_PCM_16 | SF_ENDIAN_LITTLE;
  header.frameBytes = std::int64_t{2} * raw.channels;
  return header;
}

}  // namespace

std::unique_ptr<Source> openSource(const std::string& path, const RawFormat& raw) {
  auto device = std::make_unique<InputDevice>(path);
  const StreamHeader rawHeader = headerOf(raw);
  if (path == "-" && raw.forced) return std::make_unique<FileSource>(std::move(device), rawHeader);
  if (recognise(*device) == Beginning::kUnknown) {
    if (path == "-") return std::make_unique<FileSource>(std::move(device), rawHeader);
    if (device->isLive()) throw Failure(device->name(), "is not readable as audio");
  }
  const std::optional<StreamHeader> header = readStreamHeader(*device);
  if (header && (device->isLive() || header->unfinished)) {
    return std::make_unique<FileSource>(std::move(device), *header);
  }
  device->spool();
  return std::make_unique<FileSource>(std::move(device));
}

std::unique_ptr<Sink> openSink(const std::string& path, int rate, int channels, int format) {
  const bool isPlain = format == 0 || (format & SF_FORMAT_TYPEMASK) == SF_FORMAT_WAV;
  if (path == "-" && isPlain) return std::make_unique<PipeSink>(rate, channels, format != 0);
  return std::make_unique<FileSink>(path, rate, channels, format == 0 ? formatOf(path) : format);
}

bool isSameFile(const std::string& input, const std::string& output) {
  struct stat in {};
  struct stat out {};
  if (!statusOf(input, STDIN_FILENO, in) || !statusOf(output, STDOUT_FILENO, out)) return false;
  return S_ISREG(in.st_mode) && in.st_dev == out.st_dev && in.st_ino == out.st_ino;
}

}  // namespace arvessa::app
