// SPDX-License-Identifier: Apache-2.0
#pragma once
// Whole writes to a file descriptor: interrupted ones go on, and ones that would block wait.

#include <cstddef>
#include <span>

namespace arvessa::app {

struct Transfer {
  std::size_t bytes = 0;  // done
  int error = 0;          // why not all: an errno value, or 0
};

Transfer writeAll(int fd, std::span<const std::byte> from);

}  // namespace arvessa::app
