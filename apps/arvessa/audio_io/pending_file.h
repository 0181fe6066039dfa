// SPDX-License-Identifier: Apache-2.0
#pragma once
// Output files that appear whole or not at all.

#include <string>

namespace arvessa::app {

// A new file beside `path`, which takes its name when committed. Removed when it is destroyed
// before that, or by removePendingFiles(). A link at `path` is followed: the file that it leads to is
// replaced.
class PendingFile {
 public:
  explicit PendingFile(const std::string& path);
  PendingFile(const PendingFile&) = delete;
  PendingFile& operator=(const PendingFile&) = delete;
  ~PendingFile();

  int fd() const { return fd_; }
  void commit();

 private:
  std::string path_;
  std::string target_;
  std::string temporary_;
  int fd_ = -1;
  bool committed_ = false;
};

// The file that a PendingFile at `path` becomes: `path`, or where a link there leads. Empty if that
// cannot be told.
std::string targetOf(const std::string& path);

// Removes all pending files, after which no more can appear: only the end of the program may follow.
void removePendingFiles();

}  // namespace arvessa::app
