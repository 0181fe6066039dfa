// SPDX-License-Identifier: Apache-2.0
#pragma once
// What reading and writing through libsndfile have in common.

#include <sndfile.h>

#include <memory>
#include <mutex>
#include <string>

namespace arvessa::app {

struct CloseSoundFile {
  void operator()(SNDFILE* file) const { sf_close(file); }
};
using SoundFile = std::unique_ptr<SNDFILE, CloseSoundFile>;

// libsndfile keeps the reason of a failed open in one place for all threads: held from the opening
// until the reason was read.
inline std::mutex& openingSoundFile() {
  static std::mutex mutex;
  return mutex;
}

// What libsndfile says of its last error with `file`, or in opening one if that is null: "Error :
// unknown format." -> "unknown format".
inline std::string lastErrorOf(SNDFILE* file) {
  std::string text = sf_strerror(file);
  if (text.starts_with("Error : ")) text.erase(0, 8);
  while (text.ends_with('.') || text.ends_with('\n')) text.pop_back();
  return text;
}

}  // namespace arvessa::app
