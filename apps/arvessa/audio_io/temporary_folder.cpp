// SPDX-License-Identifier: Apache-2.0
#include "audio_io/temporary_folder.h"

#include <cerrno>
#include <cstdlib>
#include <system_error>

#include "audio_io/errors.h"

namespace arvessa::app {
namespace fs = std::filesystem;

TemporaryFolder::TemporaryFolder() {
  std::error_code error;
  std::string name = (fs::temp_directory_path(error) / "arvessa-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) {
    throw Failure(name, "cannot be made a folder: " + std::generic_category().message(errno));
  }
  folder_ = name;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code error;
  fs::remove_all(folder_, error);
}

}  // namespace arvessa::app
