// SPDX-License-Identifier: Apache-2.0
#pragma once
// The recordings that a command line names.

#include <string>
#include <vector>

namespace arvessa::app {

struct Recording {
  std::string path;
  std::string name;  // of the file, below the folder that was named
};

// Files stand for themselves. Of a folder, everything in it and in its subfolders that has the name
// of a recording and is not hidden, in the order of the names, but for `outputFolder`. Throws a
// UsageError for standard input, which has no name, and a Failure for a folder without recordings.
std::vector<Recording> recordingsIn(const std::vector<std::string>& inputs,
                                    const std::string& outputFolder);

}  // namespace arvessa::app
