#pragma once
// Output files that appear whole or not at all.

#include <string>

namespace arvessa::tools {

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

// From now on SIGINT, SIGTERM and SIGHUP (unless ignored) remove the pending files and then end the
// program as they always do, and SIGPIPE is ignored in favour of the error of the write. Call
// before any thread starts.
void endCleanlyOnSignals();

}  // namespace arvessa::tools
