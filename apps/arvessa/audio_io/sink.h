// SPDX-License-Identifier: Apache-2.0
#pragma once
// Where samples go.

#include <span>

#include "ArvessaTypes.h"

namespace arvessa::app {

// Interleaved 16-bit samples. Nothing may be taken as written before finish() has returned.
class Sink {
 public:
  Sink() = default;
  Sink(const Sink&) = delete;
  Sink& operator=(const Sink&) = delete;
  virtual ~Sink() = default;
  virtual void write(std::span<const Word16> interleaved) = 0;
  virtual void finish() = 0;
};

}  // namespace arvessa::app
