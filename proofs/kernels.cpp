// SPDX-License-Identifier: Apache-2.0
// Kernels of a form with blocks of a size, for the proofs. FORM is a struct of kernels.h, and FILE
// the source that has its kernels.
#include <algorithm>

#define noinline always_inline
#include "arithmetic/block.cpp"
#include FILE

using namespace arvessa;
using namespace arvessa::kernels;

extern "C" {

UsedBits bitsOf(const Word32* x) { return FORM::bitsOf({x, 8}); }
void normalise(Word32* x, Word16 headroom, Word32* exponent) {
  *exponent = FORM::normalise({x, 8}, headroom).exponent;
}
void normaliseSamples(const Word16* samples, Word16 headroom, Word32* x, Word32* exponent) {
  *exponent = FORM::normaliseSamples({samples, 8}, headroom, {x, 8}).exponent;
}
void multiply(Word32* x, UsedBits bits, const Word16* f) { FORM::multiply({{x, 8}, bits}, {f, 8}); }
void preemphasise(const Word32* x, UsedBits bits, Word32 previous, Word32* out) {
  FORM::preemphasise({{x, 8}, bits}, previous, {out, 8});
}
void powers(Word32* x, Word16 exponent, Word32* power) {
  FORM::powers(Block{{x, 8}, kAllBits, exponent}, {power, 4});
}
void spreadToBins(const Word16* bands, const Word32* lower, const Word32* upper,
                  const Word16* lowerWeight, const Word16* upperWeight, Word16* bins) {
  const Filterbank bank = {{lower, 4}, {upper, 4}, {lowerWeight, 4}, {upperWeight, 4}, nullptr};
  FORM::spreadToBins(std::span<const Word16, kBands>(bands, kBands), bank, {bins, 4});
}
void trackNoise(const Word32* power, UsedBits bits, Word32* windowMinimum, Word32* minimum,
                Word32* smooth, Word32* noise, Word16 alpha, unsigned char* active) {
  FORM::trackNoise({{power, 4}, bits}, {{windowMinimum, 4}, {minimum, 4}, {smooth, 4}, {noise, 4}},
                   alpha, {active, 4});
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
void peakPowers(const Word16* samples, Word32* peaks) {
  FORM::peakPowers({samples, 16}, {peaks, 2});
}
void amplify(const Word16* x, Word32 gain, Word16* y) { FORM::amplify({x, 8}, gain, {y, 8}); }

}  // extern "C"
