// SPDX-License-Identifier: Apache-2.0
#pragma once
// Output files that appear whole or not at all.

#include <string>

namespace arvessa::app {

// A new file beside `path`, which takes its name when committed. Removed when it is destroyed
// before that, or when the program is ended by a signal that endCleanlyOnSignals has taken over. A
// link at `path` is followed: the file that it leads to is replaced.
class PendingFile {
 public:
  explicit PendingFile(const std::string& path);
  PendingFile(const PendingFile&) = delete;
  PendingFile& operator=(const PendingFile&) = delete;
  ~PendingFile();

  int fd() const { return fd_; }
  const std::string& path() const { return path_; }  // as given
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

// From now on the signals that ask the program to end (unless ignored) remove the pending files
// first, and SIGPIPE and SIGXFSZ are ignored in favour of the error of the write. Call before any
// thread starts.
void endCleanlyOnSignals();

}  // namespace arvessa::app
