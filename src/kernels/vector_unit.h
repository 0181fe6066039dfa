// SPDX-License-Identifier: Apache-2.0
#pragma once
// The operations of the vector unit that kernels.h chooses. A unit is a header of the types and
// functions of sse2.h, under the same names and with the same results (docs/porting.md). A vector is
// four words, whatever the unit could hold: the kernels count in fours.

#include "kernels/kernels.h"

#ifndef ARVESSA_VECTOR_UNIT_HEADER
#error "No vector unit: include this inside #ifdef ARVESSA_VECTOR_UNIT"
#else
#include ARVESSA_VECTOR_UNIT_HEADER
static_assert(sizeof(arvessa::kernels::Words) == 4 * sizeof(Word32));
#endif

namespace arvessa::kernels {

// For sums modulo 2^32.
using UnsignedWords = std::uint32_t __attribute__((vector_size(16)));
inline UnsignedWords ofBits(Words words) { return reinterpret_cast<UnsignedWords>(words); }
inline Words ofBits(UnsignedWords words) { return reinterpret_cast<Words>(words); }

}  // namespace arvessa::kernels
