// SPDX-License-Identifier: Apache-2.0
#include "commands/recordings.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <set>
#include <system_error>

#include "audio_io/errors.h"

namespace arvessa::app {
namespace {

namespace fs = std::filesystem;

bool isNamedLikeRecording(const fs::path& path) {
  static const std::set<std::string> kExtensions = {".wav", ".flac", ".aiff", ".aif", ".aifc",
                                                    ".au",  ".snd",  ".caf",  ".w64", ".rf64",
                                                    ".ogg", ".oga",  ".opus", ".mp3"};
  std::string extension = path.extension().string();
  std::ranges::transform(extension, extension.begin(),
                         [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return kExtensions.contains(extension);
}

void addFolder(const fs::path& folder, const std::string& outputFolder,
               std::vector<Recording>& recordings) {
  std::vector<Recording> found;
  std::error_code error;
  fs::recursive_directory_iterator entries(folder, error);
  for (; !error && entries != fs::recursive_directory_iterator(); entries.increment(error)) {
    const fs::path& path = entries->path();
    std::error_code none;
    const bool hidden = path.filename().string().starts_with('.');
    if (hidden || fs::equivalent(path, outputFolder, none)) {
      if (entries->is_directory(none)) entries.disable_recursion_pending();
      continue;
    }
    if (entries->is_regular_file(none) && isNamedLikeRecording(path)) {
      found.push_back({path.string(), path.lexically_relative(folder).string()});
    }
  }
  if (error) throw Failure(folder.string(), error.message());
  if (found.empty()) throw Failure(folder.string(), "holds no recordings");
  std::ranges::sort(found, {}, &Recording::path);
  recordings.insert(recordings.end(), found.begin(), found.end());
}

}  // namespace

std::vector<Recording> recordingsIn(const std::vector<std::string>& inputs,
                                    const std::string& outputFolder) {
  std::vector<Recording> recordings;
  for (const std::string& input : inputs) {
    std::error_code error;
    if (input == "-") throw UsageError("standard input needs -o, it has no name for --out-dir");
    if (fs::is_directory(input, error)) {
      addFolder(input, outputFolder, recordings);
    } else {
      recordings.push_back({input, fs::path(input).filename().string()});
    }
  }
  return recordings;
}

}  // namespace arvessa::app
