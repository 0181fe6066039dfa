// SPDX-License-Identifier: Apache-2.0
// The interface from C++: statuses keep their sign and width.
#include <Arvessa.h>
#include <Vorn.h>

#include <type_traits>

static_assert(std::is_same_v<decltype(Arvessa_GetVer()), intptr_t>);
static_assert(std::is_same_v<decltype(VORN_GetVer()), Word16>);

int main() {
  ArvessaConfig cfg{};
  return Arvessa_Init(nullptr) == -1 && Arvessa(nullptr, nullptr, &cfg) == -1 &&
                 VORN_Init(nullptr) == -1
             ? 0
             : 1;
}
