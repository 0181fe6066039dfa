// SPDX-License-Identifier: Apache-2.0
// Memory and samples for programs that call the entry points.
#pragma once

#include <algorithm>
#include <vector>

#include "ArvessaTypes.h"
#include "fuzz.h"

#if defined(__has_feature)
#if __has_feature(memory_sanitizer)
#define ARVESSA_FUZZ_MEMORY_SANITIZER
#include <sanitizer/msan_interface.h>
#endif
#endif

namespace arvessa::fuzz {

// A buffer that ends where its memory does, at any multiple of 4 bytes. Nothing around it changes.
class Memory {
 public:
  Memory(std::size_t size, Random& random)
      : lead_(4 + 4 * static_cast<std::size_t>(random.below(4))),
        fill_(random.below(2) == 0 ? 0x00 : 0xA5),
        bytes_(lead_ + size, fill_) {
    // What nobody has written must not be read.
#ifdef ARVESSA_FUZZ_MEMORY_SANITIZER
    if (fill_ != 0) __msan_poison(data(), size);
#endif
  }
  unsigned char* data() { return bytes_.data() + lead_; }
  std::size_t size() const { return bytes_.size() - lead_; }
  unsigned char fill() const { return fill_; }
  std::vector<unsigned char> contents() {
    std::vector<unsigned char> copy(data(), data() + size());
#ifdef ARVESSA_FUZZ_MEMORY_SANITIZER
    __msan_unpoison(copy.data(), copy.size());
#endif
    return copy;
  }
  void expectLeadIsIntact() const {
    const auto changed = [this](unsigned char byte) { return byte != fill_; };
    expect(std::none_of(bytes_.begin(), bytes_.begin() + lead_, changed), "bytes before a buffer");
  }

 private:
  std::size_t lead_;
  unsigned char fill_;
  std::vector<unsigned char> bytes_;
};

// Samples of a kind and a level that the input chooses.
class Signal {
 public:
  explicit Signal(Random& random)
      : kind_(random.below(8)),
        level_(random.below(16)),
        period_(1 + random.below(200)),
        noise_(random.next()) {}

  Word16 next() {
    const int phase = time_++ % period_;
    const bool up = 2 * phase < period_;
    switch (kind_) {
      case 0:
        return 0;
      case 1:
        return noise(level_);
      case 2:
        return up ? 32767 : -32768;
      case 3:  // a triangle
        return static_cast<Word16>((std::abs(65534 * phase / period_ - 32767) - 16384) >> level_);
      case 4:
        return phase == 0 ? noise(15) : Word16{0};
      case 5:  // loud and quiet
        return noise(time_ / (16 * period_) % 2 == 0 ? 15 : level_);
      case 6:
        return static_cast<Word16>(-32768 >> level_);
      default:  // a voice: pulses that ring, in syllables
        if (time_ % 4000 > 2500) return noise(level_ / 2);
        return static_cast<Word16>(noise(15) >> std::min(15, phase / 8 + level_ / 4));
    }
  }

 private:
  Word16 noise(int bits) { return static_cast<Word16>(noise_.wordOf(bits)); }

  int kind_, level_, period_, time_ = 0;
  Random noise_;
};

}  // namespace arvessa::fuzz
