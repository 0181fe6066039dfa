#pragma once
// The subcommands. Each function adds one to `app` and sets `run` to what is to be done when it was
// chosen; that returns the exit code.

#include <CLI/CLI.hpp>
#include <functional>

namespace arvessa::tools {

using Run = std::function<int()>;

void addEnhance(CLI::App& app, Run& run);
void addEngine(CLI::App& app, Run& run);
void addScene(CLI::App& app, Run& run);
void addTrace(CLI::App& app, Run& run);
void addInfo(CLI::App& app, Run& run);

}  // namespace arvessa::tools
