// SPDX-License-Identifier: Apache-2.0
// Raw samples of two microphones through the stream of the HAL example, which is started twice.
#include <cstdio>

#include "speech_input.h"

int main() {
  SpeechInput input;
  std::int16_t pairs[160] = {};
  alignas(4) std::int16_t clean[80];
  if (!input.start() || !input.process(pairs, clean) || !input.start()) return 1;
  while (std::fread(pairs, sizeof pairs, 1, stdin) == 1) {
    if (!input.process(pairs, clean)) return 1;
    if (std::fwrite(clean, sizeof clean, 1, stdout) != 1) return 1;
  }
  return 0;
}
