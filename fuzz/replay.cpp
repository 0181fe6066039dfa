// SPDX-License-Identifier: Apache-2.0
// Runs a target without libFuzzer: replay FILE... --random N, on the inputs of the files and on N that
// are made of numbers. The file is named before it is run.
#include <vector>

#include "fuzz.h"

namespace {

std::vector<std::uint8_t> contents(const char* name) {
  std::vector<std::uint8_t> bytes;
  std::FILE* file = std::fopen(name, "rb");
  if (file == nullptr) arvessa::fuzz::fail(name);
  for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file)) {
    bytes.push_back(static_cast<std::uint8_t>(c));
  }
  std::fclose(file);
  return bytes;
}

}  // namespace

int main(int count, char** words) {
  int inputs = 0;
  for (int i = 1; i < count; ++i) {
    if (std::strcmp(words[i], "--random") != 0) {
      std::printf("%s\n", words[i]);
      std::fflush(stdout);
      arvessa::fuzz::runInput(contents(words[i]));
      ++inputs;
      continue;
    }
    arvessa::test::Random random(1);
    for (int left = std::atoi(words[++i]); left > 0; --left, ++inputs) {
      std::vector<std::uint8_t> bytes(8);
      for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random.below(256));
      arvessa::fuzz::runInput(bytes);
    }
  }
  std::printf("%d inputs\n", inputs);
  return inputs > 0 ? 0 : 1;
}
