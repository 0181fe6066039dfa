// SPDX-License-Identifier: Apache-2.0
#include "commands/command_line.h"

#include <CLI/CLI.hpp>
#include <functional>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "Arvessa.h"
#include "Vorn.h"
#include "audio_io/errors.h"
#include "commands/suggestion.h"

namespace arvessa::app {
namespace {

std::string versionText() {
  return std::string("arvessa ") + ARVESSA_VERSION + " (library " +
         std::to_string(Arvessa_GetVer()) + ", engine " + std::to_string(VORN_GetVer()) + ")";
}

// The subcommand that the command line names, or the command itself.
CLI::App& mentioned(CLI::App& app) {
  const std::vector<CLI::App*> named = app.get_subcommands();
  return named.empty() ? app : *named.front();
}

std::vector<std::string> wordsOf(CLI::App& app, bool options) {
  std::vector<std::string> words;
  if (!options) {
    for (const CLI::App* command : app.get_subcommands({})) words.push_back(command->get_name());
    return words;
  }
  for (const CLI::Option* option : app.get_options()) {
    for (const std::string& name : option->get_lnames()) words.push_back("--" + name);
  }
  return words;
}

// "enhance, engine or info"
std::string listed(const std::vector<std::string>& words) {
  std::string text;
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (i > 0) text += i + 1 < words.size() ? ", " : " or ";
    text += words[i];
  }
  return text;
}

// What nobody knows of the command line, in words.
std::string unknownText(CLI::App& app) {
  CLI::App& command = mentioned(app);
  const std::string word = app.remaining(true).front();
  const bool isOption = word.size() > 1 && word.front() == '-';
  const bool isCommand = !isOption && &command == &app;
  const std::string name = word.substr(0, word.find('='));
  const std::vector<std::string> words = wordsOf(command, isOption);
  const std::string meant = isOption || isCommand ? closest(name, words) : std::string();
  const char* const kind = isOption ? "option" : isCommand ? "command" : "argument";
  return std::string("there is no ") + kind + " " + name +
         (meant.empty() ? "" : "; did you mean " + meant + "?");
}

void addHelp(CLI::App& app, Run& run) {
  auto name = std::make_shared<std::string>();
  const std::string others = listed(wordsOf(app, false));
  CLI::App* command = app.add_subcommand("help", "The help of a command");
  command->add_option("COMMAND", *name, others);
  command->callback([name, &app, &run] {
    const std::vector<CLI::App*> named =
        app.get_subcommands([&](CLI::App* other) { return other->get_name() == *name; });
    if (named.empty() && !name->empty()) {
      const std::vector<std::string> words = wordsOf(app, false);
      const std::string meant = closest(*name, words);
      throw UsageError("there is no command " + *name +
                       (meant.empty() ? "" : "; did you mean " + meant + "?") +
                       " (arvessa --help shows them)");
    }
    // App::help would give that of the subcommand that has been asked for: this one.
    const CLI::App* wanted = named.empty() ? &app : named.front();
    const std::string prefix = named.empty() ? "" : "arvessa";
    run = [text = app.get_formatter()->make_help(wanted, prefix, CLI::AppFormatMode::Normal)] {
      std::cout << text;
      return 0;
    };
  });
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
      "  arvessa help COMMAND\n\n"
      "Exit codes: 0 done, 1 failed or incomplete, 2 wrong usage, 129, 130 or 143 ended by a\n"
      "signal.");
  Run run;
  addEnhance(app, run);
  addEngine(app, run);
  addScene(app, run);
  addTrace(app, run);
  addBeams(app, run);
  addInfo(app, run);
  addHelp(app, run);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) {
      app.exit(error);  // --help and --version
      return [] { return 0; };
    }
    const bool unknown = dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr;
    const CLI::App& command = mentioned(app);
    throw UsageError((unknown ? unknownText(app) : std::string(error.what())) + " (arvessa " +
                     (&command == &app ? "" : command.get_name() + " ") +
                     "--help shows the usage)");
  }
  if (!run) throw UsageError("a command is needed (arvessa --help shows them)");
  return run;
}

}  // namespace arvessa::app
