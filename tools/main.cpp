// The command `arvessa`.

#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <iostream>

#include "Arvessa.h"
#include "Vorn.h"
#include "commands.h"
#include "pending_file.h"
#include "stream.h"

namespace {

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

std::string versionText() {
  return std::string("arvessa ") + ARVESSA_VERSION + " (library " +
         std::to_string(Arvessa_GetVer()) + ", engine " + std::to_string(VORN_GetVer()) + ")";
}

// A standard stream that the caller has closed is replaced by one that refuses to be used, so that
// no output file gets its number.
void occupyStandardStreams() {
  for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(fd, F_GETFD) >= 0) continue;
    const int opened = open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    if (opened >= 0 && opened != fd) dup2(opened, fd);
  }
}

int complain(const std::string& text, int code) {
  std::cerr << "arvessa: " << text << '\n';
  return code;
}

int runCommand(int argc, char** argv) {
  using namespace arvessa::tools;
  CLI::App app{"Speech front end of a two-microphone device", "arvessa"};
  app.set_version_flag("--version", versionText);
  app.require_subcommand(1);
  app.footer(
      "Examples:\n"
      "  arvessa scene speech.wav --talker 0 --noise babble --snr 5 -o noisy.wav\n"
      "  arvessa enhance noisy.wav -o clean.wav\n"
      "  arvessa COMMAND --help\n\n"
      "Exit codes: 0 done, 1 failed, 2 wrong usage.");
  Run run;
  addEnhance(app, run);
  addEngine(app, run);
  addScene(app, run);
  addTrace(app, run);
  addInfo(app, run);

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) {
      app.exit(error);  // --help and --version
      return 0;
    }
    return complain(std::string(error.what()) + " (arvessa --help shows the usage)", kWrongUsage);
  }
  try {
    return run();
  } catch (const UsageError& error) {
    return complain(error.what(), kWrongUsage);
  }
}

}  // namespace

int main(int argc, char** argv) {
  occupyStandardStreams();
  arvessa::tools::endCleanlyOnSignals();
  int code = kFailed;
  try {
    code = runCommand(argc, argv);
  } catch (const std::bad_alloc&) {
    complain("out of memory", kFailed);
  } catch (const std::exception& error) {
    complain(error.what(), kFailed);
  }
  if (!std::cout.flush()) return complain("standard output: cannot be written", kFailed);
  return code;
}
