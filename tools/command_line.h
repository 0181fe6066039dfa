#pragma once
// The command line: what it may say, and what it asks for.

#include <functional>

namespace arvessa::tools {

// What is to be done; returns the exit code. Help and version, where they were asked for, have been
// printed already. Throws UsageError.
std::function<int()> readCommandLine(int argc, char** argv);

}  // namespace arvessa::tools
