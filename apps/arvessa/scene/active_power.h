// SPDX-License-Identifier: Apache-2.0
#pragma once
// The power of speech without its pauses.

#include <cstddef>
#include <span>
#include <vector>

namespace arvessa::app {

// Mean power of the passages that carry speech: of the 20 ms blocks that lie within 30 dB of the
// strongest one. After the idea of ITU-T P.56, which measures speech without its pauses. Keeps 8
// bytes a block.
class ActivePower {
 public:
  explicit ActivePower(int rate);
  void add(std::span<const float> samples);
  double mean() const;  // of everything added; 0 in silence

 private:
  std::size_t block_;  // samples
  std::vector<double> powers_;
  double sum_ = 0;  // of the squares of the samples in the block that is not yet full
  std::size_t filled_ = 0;
};

}  // namespace arvessa::app
