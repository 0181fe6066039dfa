// SPDX-License-Identifier: Apache-2.0
// libFuzzer's entry to a target.
#include "fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  arvessa::fuzz::runInput({data, size});
  return 0;
}
