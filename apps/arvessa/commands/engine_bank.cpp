// SPDX-License-Identifier: Apache-2.0
#include "commands/engine_bank.h"

namespace arvessa::app {

void EngineBank::process(std::span<const Word16> in, std::size_t /*filled*/,
                         std::span<Word16> out) {
  const auto samples = static_cast<std::size_t>(frame);
  for (std::size_t c = 0; c < engines_.size(); ++c) {
    engines_[c].process(in.subspan(c * samples, samples), out.subspan(c * samples, samples));
  }
}

}  // namespace arvessa::app
