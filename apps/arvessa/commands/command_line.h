// SPDX-License-Identifier: Apache-2.0
#pragma once
// The command line: what it may say, and what it asks for.

#include "commands/commands.h"

namespace arvessa::app {

// What is to be done; returns the exit code. Help and version, where they were asked for, have been
// printed already. Throws UsageError.
Run readCommandLine(int argc, char** argv);

}  // namespace arvessa::app
