// SPDX-License-Identifier: Apache-2.0
#pragma once
// The subcommands. Each adds itself to the command line: what it can be asked for, with its
// defaults, and, once the command line has asked for it, what is to be run, which returns the exit
// code. A name has letters a to z only, and a footer ends with "Example:" or "Examples:" and lines of
// shell: the completion, the man page and a test read the help so.

#include <functional>

namespace CLI {
class App;
}

namespace arvessa::app {

using Run = std::function<int()>;

void addEnhance(CLI::App& app, Run& run);
void addEngine(CLI::App& app, Run& run);
void addScene(CLI::App& app, Run& run);
void addTrace(CLI::App& app, Run& run);
void addBeams(CLI::App& app, Run& run);
void addInfo(CLI::App& app, Run& run);

}  // namespace arvessa::app
