// SPDX-License-Identifier: Apache-2.0
// Kernels of a form with blocks of a size, for the proofs. FORM is a struct of kernels.h, and FILE
// the source that has its kernels. What that leaves to another form is a call, which a proof has to
// find out of reach.
#include <algorithm>

#define noinline always_inline
#include "arithmetic/block.cpp"
#include FILE

using namespace arvessa;
using namespace arvessa::kernels;

extern "C" {

void normaliseSamples(const Word16* samples, Word16 headroom, Word32* x, Word32* exponent) {
  *exponent = FORM::normaliseSamples({samples, 8}, headroom, {x, 8}).exponent;
}
void multiply(Word32* x, UsedBits bits, const Word16* f) { FORM::multiply({{x, 8}, bits}, {f, 8}); }
void preemphasise(const Word32* x, UsedBits bits, Word32 previous, Word32* out) {
  FORM::preemphasise({{x, 8}, bits}, previous, {out, 8});
}
void scaleBins(Word32* x, UsedBits bits, const Word16* gains) {
  FORM::scaleBins({{x, 16}, bits}, {gains, 8});
}
void addOverlap(Word32* time, Word16 exponent, Word32* overlap, Word32* block) {
  FORM::addOverlap(Block{{time, 8}, kAllBits, exponent}, {overlap, 4}, {block, 4});
}
void deemphasise(const Word32* x, UsedBits bits, Word32* memory, Word16* out) {
  FORM::deemphasise({{x, 1}, bits}, *memory, {out, 1});
}

}  // extern "C"
