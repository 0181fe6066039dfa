// SPDX-License-Identifier: Apache-2.0
#pragma once
// The operations of the vector unit that ARVESSA_VECTOR_UNIT names (kernels.h): the only place that
// chooses them. A unit is a header of the types and functions of sse2.h, under the same names and
// with the same results.

#ifdef __SSE2__
#include "kernels/sse2.h"
#else
#include "kernels/neon.h"
#endif

namespace arvessa::kernels {

// For sums modulo 2^32.
using UnsignedWords = std::uint32_t __attribute__((vector_size(16)));
inline UnsignedWords ofBits(Words words) { return reinterpret_cast<UnsignedWords>(words); }
inline Words ofBits(UnsignedWords words) { return reinterpret_cast<Words>(words); }

}  // namespace arvessa::kernels
