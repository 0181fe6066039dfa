// SPDX-License-Identifier: Apache-2.0
#include "commands/picture.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <system_error>

#include "audio_io/errors.h"
#include "audio_io/pending_file.h"

namespace arvessa::app {
namespace {

std::filesystem::path pathOf(PictureScript script) {
  std::error_code error;
  const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
  return self.parent_path().parent_path() / "share" / "arvessa" /
         (script == PictureScript::kBeams ? "draw_beams.py" : "draw_recording.py");
}

// Runs a Python with `arguments`, its standard output being `output`. Returns the exit code, or -1 if
// it could not be run.
int runPython(const std::string& python, std::vector<std::string> arguments, int output) {
  arguments.insert(arguments.begin(), python);
  std::vector<char*> words;
  words.reserve(arguments.size() + 1);
  for (std::string& argument : arguments) words.push_back(argument.data());
  words.push_back(nullptr);

  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&files, output, STDOUT_FILENO);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  sigset_t none;
  sigemptyset(&none);
  posix_spawnattr_setsigmask(&attributes, &none);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
  pid_t child = 0;
  const int error =
      posix_spawnp(&child, python.c_str(), &files, &attributes, words.data(), environ);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&files);
  if (error != 0) return -1;
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) return -1;
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// The Python that has Matplotlib: another one may come first in the path. Empty if there is none.
std::string pythonWithMatplotlib() {
  const std::string probe =
      "import importlib.util, sys; "
      "sys.exit(any(importlib.util.find_spec(m) is None for m in ('matplotlib', 'numpy')))";
  for (const char* const python : {"python3", "/usr/bin/python3"}) {
    if (runPython(python, {"-c", probe}, STDERR_FILENO) == 0) return python;
  }
  return {};
}

}  // namespace

void checkCanDraw(PictureScript script, const std::string& picture) {
  if (!std::filesystem::exists(pathOf(script))) {
    throw Failure(picture, "cannot be drawn: " + pathOf(script).string() + " is not there");
  }
  if (pythonWithMatplotlib().empty()) {
    throw Failure(picture,
                  "cannot be drawn: that takes Python with Matplotlib (Debian package "
                  "python3-matplotlib)");
  }
}

void drawPicture(PictureScript script, const std::vector<std::string>& arguments,
                 const std::string& picture) {
  PendingFile file(picture);
  std::vector<std::string> words = {pathOf(script).string()};
  words.insert(words.end(), arguments.begin(), arguments.end());
  if (runPython(pythonWithMatplotlib(), words, file.fd()) != 0)
    throw Failure(picture, "could not be drawn");
  file.commit();
}

}  // namespace arvessa::app
