// SPDX-License-Identifier: Apache-2.0
#include "commands/output_folders.h"

#include <system_error>

#include "audio_io/errors.h"

namespace arvessa::app {
namespace fs = std::filesystem;

OutputFolders::~OutputFolders() {
  for (auto folder = made_.rbegin(); folder != made_.rend(); ++folder) {
    std::error_code notEmpty;
    fs::remove(*folder, notEmpty);
  }
}

void OutputFolders::makeFor(const std::string& output) {
  const fs::path folder = fs::path(output).parent_path();
  const std::lock_guard lock(mutex_);
  std::vector<fs::path> missing;
  std::error_code error;
  for (fs::path above = folder; !above.empty() && !fs::exists(above, error);
       above = above.parent_path()) {
    missing.push_back(above);
  }
  for (auto next = missing.rbegin(); next != missing.rend(); ++next) {
    if (fs::create_directory(*next, error)) made_.push_back(*next);
    if (error) throw Failure(folder.string(), "cannot be made a folder: " + error.message());
  }
  if (!folder.empty() && !fs::is_directory(folder, error)) {
    throw Failure(folder.string(), "is not a folder");
  }
}

}  // namespace arvessa::app
