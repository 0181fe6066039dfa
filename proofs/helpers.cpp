// SPDX-License-Identifier: Apache-2.0
// Inline functions under names of their own, for the proofs: vectors come from and go to memory.
#include <cstddef>

#include "arithmetic/division.h"
#include "kernels/kernels.h"
#include "kernels/products.h"

using namespace arvessa;
using namespace arvessa::kernels;

extern "C" {

Word32 quotient(Word32 num, Word32 den) { return arvessa::quotient(num, den); }
Word16 quotientQ8(Word32 num, Word32 den) { return arvessa::quotientQ8(num, den); }
Word32 quotientQ15(Word32 num, Word32 den) { return arvessa::quotientQ15(num, den); }

// products.h
Word32 addByFirst(Word32 sum, Word32 word, const Word16* pair) {
  return kernels::addByFirst(sum, word, loadPair(pair));
}
Word32 addBySecond(Word32 sum, Word32 word, const Word16* pair) {
  return kernels::addBySecond(sum, word, loadPair(pair));
}
Word32 addByOne(Word32 sum, Word32 word, Word16 factor) {
  return kernels::addByFirst(sum, word, pairOf(factor));
}
void factorsOfPair(const Word16* pair, Word16* out) {
  out[0] = firstOf(loadPair(pair));
  out[1] = secondOf(loadPair(pair));
}
Word32 productOfAny(Word32 word, Word16 factor) { return kernels::productOfAny(word, factor); }
Word32 addSaturated(Word32 a, Word32 b) { return kernels::addSaturated(a, b); }

}  // extern "C"

#ifdef ARVESSA_VECTOR_UNIT
#include "kernels/vector_unit.h"

extern "C" {

#define BY_FACTORS(name)                                     \
  void name(const Word32* x, const Word16* f, Word32* out) { \
    store(out, kernels::name(load(x), loadFactors(f)));      \
  }
BY_FACTORS(mulQ15)
BY_FACTORS(share)
BY_FACTORS(shareOfAny)
BY_FACTORS(shareLess)
BY_FACTORS(mulHighQ15)
#undef BY_FACTORS

#define OF_TWO(name)                                         \
  void name(const Word32* a, const Word32* b, Word32* out) { \
    store(out, kernels::name(load(a), load(b)));             \
  }
OF_TWO(halfSum)
OF_TWO(halfDifference)
OF_TWO(saturatedSum)
OF_TWO(squaredMagnitudes)
OF_TWO(product16)
#undef OF_TWO

void byOneFactor(const Word32* x, Word16 f, Word32* out) {
  store(out, mulQ15(load(x), splatFactor(f)));
}
void byPairFactors(const Word32* x, const Word16* f, Word32* out) {
  const PairFactors pairs = spreadFactors(f);
  store(out, share(load(x), pairs.first));
  store(out + 4, share(load(x + 4), pairs.second));
}
void byWideFactors(const Word32* x, const Word16* f, Word32* out) {
  store(out, share(load(x), factorsOf(loadWide(f))));
}
void mulLargest(const Word32* x, Word32* out) { store(out, kernels::mulLargest(load(x))); }
void mulAnyByLargest(const Word32* x, Word32* out) {
  store(out, kernels::mulAnyByLargest(load(x)));
}
void loadWide(const Word16* x, Word32* out) { store(out, kernels::loadWide(x)); }
void storeSaturated(const Word32* x, Word16* out) { kernels::storeSaturated(out, load(x)); }
void storeDoubled(const Word32* x, Word16* out) {
  kernels::storeDoubled(out, load(x), load(x + 4));
}
void storeSaturatedSum(const Word32* x, const Word16* from, Word16* out) {
  kernels::storeSaturatedSum(out, from, load(x));
}
void storeShifted(const Word16* x, int left, int right, Word32* out) {
  kernels::storeShifted(out, x, left, right);
}
void flags(const Word32* x, unsigned char* out) { storeFlags(out, load(x) < 0); }
void maskOfFlags(const unsigned char* flags, Word32* out) { store(out, loadFlags(flags)); }
int anyOf(const Word32* x) { return any(load(x) < 0); }
int isOutside(const Word16* x, Word16 least, Word16 most) { return any(outsideOf(x, least, most)); }
void weightedPairs(const Word16* from, const Word16* first, const Word16* second, Word32* out) {
  const Word32 places[4] = {0, 0, 2, 4};
  store(out, kernels::weightedPairs(from, places, first, second));
}
void multiplyEight(const Word16* x, Word16 f, Word16* out) { kernels::multiplyEight(x, f, out); }
Word32 largestMagnitude(const Word16* x) { return kernels::largestMagnitude(x, 8); }
void largestSquares(const Word16* first, const Word16* second, Word32* out) {
  kernels::largestSquares(first, second, 8, out);
}

}  // extern "C"
#endif  // ARVESSA_VECTOR_UNIT
