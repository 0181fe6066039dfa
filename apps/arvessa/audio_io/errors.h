// SPDX-License-Identifier: Apache-2.0
#pragma once
// What ends the work with a message for people.

#include <stdexcept>
#include <string>
#include <string_view>

namespace arvessa::app {

// `text` with everything escaped that moves the cursor or does worse to a terminal: control
// characters and what is not UTF-8.
std::string printable(std::string_view text);

// A file's name as people read it, also where it is empty.
std::string shownName(const std::string& name);

// What went wrong with a named file or stream, ready to be shown. Ends the work on that input.
class Failure : public std::runtime_error {
 public:
  Failure(const std::string& name, const std::string& reason)
      : std::runtime_error(shownName(name) + ": " + reason) {}
};

// Something was asked for that makes no sense; nothing has been begun.
class UsageError : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace arvessa::app
