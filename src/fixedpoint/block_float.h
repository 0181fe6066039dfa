#pragma once
// Block floating point: a block of words shares one exponent, so that it can pass a transform with
// the largest usable amplitude.

#include "ArvessaTypes.h"

extern "C" {

// Scales x[0..n-1] in place so that the largest magnitude lies in 2^(30-headroom)..2^(31-headroom),
// by a left shift or by a flooring right shift, and returns the left shift applied (-headroom for a
// block of zeros). n is a positive multiple of 16, headroom 0..30.
ARVESSA_API Word16 WVQE_Block_Norm(Word32* x, Word16 n, Word16 headroom);

// Shifts x[0..n-1] in place to the right by `shift`, flooring, or to the left by -`shift`,
// saturating: undoes the shift that WVQE_Block_Norm returned. n is a positive multiple of 8.
ARVESSA_API void WVQE_Block_Denorm(Word32* x, Word16 n, Word16 shift);

}  // extern "C"
