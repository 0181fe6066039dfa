// SPDX-License-Identifier: Apache-2.0
#include "abi/exported_functions.h"

#include "abi/views.h"
#include "arithmetic/block.h"
#include "arithmetic/division.h"
#include "arithmetic/elementary_functions.h"

extern "C" {

Word32 WVQE_L_div32(Word32 num, Word32 den) { return arvessa::quotient(num, den); }
Word16 WVQE_DIV32_16_Q8(Word32 num, Word32 den) { return arvessa::quotientQ8(num, den); }
Word32 WVQE_DIV32_16_Q15(Word32 num, Word32 den) { return arvessa::quotientQ15(num, den); }
Word32 WVQE_Exp(Word16 x) { return arvessa::expQ11(x); }
Word32 WVQE_ExpTmp(Word16 x) { return arvessa::exp2Q11(x); }
Word32 WVQE_Sqrt(Word32 x) { return arvessa::squareRoot(x); }
Word16 WVQE_iLog4(uint32_t x) { return arvessa::floorLog4(x); }

Word16 WVQE_Block_Norm(Word32* x, Word16 n, Word16 headroom) {
  return arvessa::normalised(arvessa::view(x, n), headroom).exponent;
}
void WVQE_Block_Denorm(Word32* x, Word16 n, Word16 shift) {
  arvessa::denormalise({arvessa::view(x, n)}, shift);
}

}  // extern "C"
