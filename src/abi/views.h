// SPDX-License-Identifier: Apache-2.0
#pragma once
// Sized views of the raw arguments of exported routines.

#include <span>

#include "kernels/kernels.h"
#include "noise_reduction/geometry.h"

namespace arvessa {

// Nothing, if n is negative.
template <class T>
std::span<T> view(T* from, int n) {
  return {from, static_cast<std::size_t>(n < 0 ? 0 : n)};
}

template <class T>
std::span<T, kBands> bandView(T* from) {
  return std::span<T, kBands>(from, kBands);
}

// A block of which nothing is known but its words.
inline ConstBlock scanned(const Word32* from, int n) {
  const auto words = view(from, n);
  return {words, usedBits(words)};
}

}  // namespace arvessa
