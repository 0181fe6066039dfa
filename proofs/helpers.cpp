// SPDX-License-Identifier: Apache-2.0
// Inline functions under names of their own, for the proofs.
#include "arithmetic/division.h"

extern "C" {

Word32 quotient(Word32 num, Word32 den) { return arvessa::quotient(num, den); }
Word16 quotientQ8(Word32 num, Word32 den) { return arvessa::quotientQ8(num, den); }
Word32 quotientQ15(Word32 num, Word32 den) { return arvessa::quotientQ15(num, den); }

}  // extern "C"
