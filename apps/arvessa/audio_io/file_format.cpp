// SPDX-License-Identifier: Apache-2.0
#include "audio_io/file_format.h"

#include <sndfile.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <utility>

#include "audio_io/errors.h"

namespace arvessa::app {
namespace {

std::string extensionOf(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension().string();
  std::ranges::transform(extension, extension.begin(),
                         [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return extension.empty() ? extension : extension.substr(1);
}

}  // namespace

int formatOf(const std::string& path) {
  constexpr std::pair<const char*, int> kFormats[] = {
      {"wav", SF_FORMAT_WAV},  {"flac", SF_FORMAT_FLAC}, {"aiff", SF_FORMAT_AIFF},
      {"aif", SF_FORMAT_AIFF}, {"au", SF_FORMAT_AU},     {"caf", SF_FORMAT_CAF},
      {"w64", SF_FORMAT_W64}};
  const std::string extension = extensionOf(path);
  for (const auto& [name, format] : kFormats) {
    if (extension == name) return format | SF_FORMAT_PCM_16;
  }
  return 0;
}

bool hasShortSizes(int format) {
  const int type = format & SF_FORMAT_TYPEMASK;
  return type == SF_FORMAT_WAV || type == SF_FORMAT_AIFF || type == SF_FORMAT_AU;
}

bool canBePiped(int format) {
  const int type = format & SF_FORMAT_TYPEMASK;
  return type == SF_FORMAT_WAV || type == SF_FORMAT_FLAC;
}

void checkWritableFormat(const std::string& path, int format) {
  if (path == "-") {
    if (format == 0 || canBePiped(format)) return;
    throw UsageError("standard output can be raw samples, WAV or FLAC; other formats need a file");
  }
  if (format != 0 || formatOf(path) != 0) return;
  throw UsageError(shownName(path) + ": no 16-bit audio format has the extension \"" +
                   printable(extensionOf(path)) + "\"; use .wav, .flac, .aiff, .au, .caf or .w64");
}

}  // namespace arvessa::app
