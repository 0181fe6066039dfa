// SPDX-License-Identifier: Apache-2.0
#include "audio_io/pending_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <mutex>
#include <set>
#include <system_error>
#include <utility>

#include "audio_io/errors.h"

namespace arvessa::app {
namespace {

// Guards the set and every creation, renaming and removal of its files: while the signal thread
// holds it, no temporary file can appear.
struct Registry {
  std::mutex mutex;
  std::set<std::string> temporaries;
};

// Never destroyed, because the signal thread may outlive main.
Registry& registry() {
  static auto& instance = *new Registry;
  return instance;
}

[[noreturn]] void fail(const std::string& path, int error) {
  throw Failure(path, "cannot be written: " + std::generic_category().message(error));
}

// Without links, also where the file at the end of them does not exist yet.
std::filesystem::path resolve(std::filesystem::path path, std::error_code& error) {
  constexpr int kMostLinks = 40;
  for (int links = 0; links < kMostLinks; ++links) {
    std::error_code noLink;
    const std::filesystem::path next = std::filesystem::read_symlink(path, noLink);
    if (noLink) return std::filesystem::weakly_canonical(path, error);
    path = path.parent_path() / next;
  }
  error = std::make_error_code(std::errc::too_many_symbolic_link_levels);
  return path;
}

}  // namespace

PendingFile::PendingFile(const std::string& path) : path_(path) {
  std::error_code error;
  const std::filesystem::path resolved = resolve(path, error);
  if (error) fail(path, error.value());
  target_ = resolved.string();

  mode_t mode = 0666;
  struct stat status {};
  const bool exists = stat(target_.c_str(), &status) == 0;
  if (exists) {
    if (S_ISDIR(status.st_mode)) fail(path, EISDIR);
    if (!S_ISREG(status.st_mode)) {
      throw Failure(path, "is not a regular file; \"-\" writes to standard output");
    }
    if (access(target_.c_str(), W_OK) != 0) fail(path, errno);
    mode = status.st_mode & 0777;
  }

  static int serial = 0;
  const std::lock_guard lock(registry().mutex);
  do {  // a killed process with our number may have left its file behind
    const std::string name =
        ".arvessa-" + std::to_string(getpid()) + "-" + std::to_string(serial++);
    temporary_ = (resolved.parent_path() / name).string();
    fd_ = open(temporary_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode);
  } while (fd_ < 0 && errno == EEXIST);
  if (fd_ < 0) {
    throw Failure(path, "cannot be written: no file can be made in its directory: " +
                            std::generic_category().message(errno));
  }
  if (exists) fchmod(fd_, mode);
  registry().temporaries.insert(temporary_);
}

PendingFile::~PendingFile() {
  if (committed_) return;
  if (fd_ >= 0) close(fd_);
  const std::lock_guard lock(registry().mutex);
  unlink(temporary_.c_str());
  registry().temporaries.erase(temporary_);
}

void PendingFile::commit() {
  // Network file systems report a full disk only here.
  if (close(std::exchange(fd_, -1)) != 0) fail(path_, errno);
  const std::lock_guard lock(registry().mutex);
  if (std::rename(temporary_.c_str(), target_.c_str()) != 0) fail(path_, errno);
  registry().temporaries.erase(temporary_);
  committed_ = true;
}

std::string targetOf(const std::string& path) {
  std::error_code error;
  const std::filesystem::path resolved = resolve(path, error);
  return error ? std::string() : resolved.string();
}

void removePendingFiles() {
  registry().mutex.lock();
  for (const std::string& temporary : registry().temporaries) unlink(temporary.c_str());
}

}  // namespace arvessa::app
