// SPDX-License-Identifier: Apache-2.0
#pragma once
// Folders that are made for outputs, and not left behind if none comes.

#include <filesystem>
#include <mutex>
#include <string>
#include <vector>

namespace arvessa::app {

class OutputFolders {
 public:
  OutputFolders() = default;
  OutputFolders(const OutputFolders&) = delete;
  OutputFolders& operator=(const OutputFolders&) = delete;
  // Removes those that it has made and that are still empty.
  ~OutputFolders();

  // Makes the folder that `output` is to be in, and those above it. From several threads.
  void makeFor(const std::string& output);

 private:
  std::mutex mutex_;
  std::vector<std::filesystem::path> made_;
};

}  // namespace arvessa::app
