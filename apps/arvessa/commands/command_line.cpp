// SPDX-License-Identifier: Apache-2.0
#include "commands/command_line.h"

#include <CLI/CLI.hpp>
#include <string>

#include "Arvessa.h"
#include "Vorn.h"
#include "audio_io/errors.h"

namespace arvessa::app {
namespace {

std::string versionText() {
  return std::string("arvessa ") + ARVESSA_VERSION + " (library " +
         std::to_string(Arvessa_GetVer()) + ", engine " + std::to_string(VORN_GetVer()) + ")";
}

}  // namespace

Run readCommandLine(int argc, char** argv) {
  CLI::App app{"Speech front end of a two-microphone device", "arvessa"};
  app.set_version_flag("--version", versionText);
  app.require_subcommand(0, 1);
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
  addBeams(app, run);
  addInfo(app, run);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() != 0) {
      throw UsageError(std::string(error.what()) + " (arvessa --help shows the usage)");
    }
    app.exit(error);  // --help and --version
    return [] { return 0; };
  }
  if (!run) throw UsageError("a command is needed (arvessa --help shows them)");
  return run;
}

}  // namespace arvessa::app
