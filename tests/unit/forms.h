// SPDX-License-Identifier: Apache-2.0
// One test of GoogleTest for every form of the kernels.
#pragma once

#include <tuple>

#include "support/support.h"

namespace arvessa::test {

template <class Tuple>
struct AsTypes;
template <class... Forms>
struct AsTypes<std::tuple<Forms...>> {
  using Types = testing::Types<Forms...>;
};

struct FormName {
  template <class Form>
  static std::string GetName(int /*index*/) {
    return Form::kName;
  }
};

}  // namespace arvessa::test
