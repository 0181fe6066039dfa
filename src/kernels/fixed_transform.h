// SPDX-License-Identifier: Apache-2.0
#pragma once
// The fixed-point transform by its definition, whole and in the pieces that are exported, and the
// headroom that its other forms need.

#include "kernels/kernels.h"

namespace arvessa::kernels {

// The twiddles of stage s, after the first, in the order of their use: each twice, but in the last.
inline const Word16* twiddlesOfStage(const TransformTables& tables, int s) {
  return tables.rearranged + 4 * ((1 << s) - 2);
}

// With saturating arithmetic, of any words. Points are pairs of words.
namespace saturating {

// Reads `from` in bit-reversed order.
void firstStage(const Word32* from, Word32* to, const TransformTables& tables, bool inverse);

// The stages from `first` on, which alternate between the blocks, from `a` first. Returns the block
// that holds the result. The first stage is stage 0.
Word32* stagesFrom(int first, Word32* a, Word32* b, const TransformTables& tables, bool inverse);

// In place.
void complexTransform(Word32* x, const TransformTables& tables, bool inverse);

// Bins k and N - k, 0 < k < N, of the samples' spectrum from that of their pairs, and back. `out`
// may be the input.
void forwardSplit(const Word32* z, Word32* out, const TransformTables& tables);
void inverseSplit(const Word32* x, Word32* out, const TransformTables& tables);

// The same with bins 0 and N.
void forwardUnpack(const Word32* z, Word32* out, const TransformTables& tables);
void inverseUnpack(const Word32* x, Word32* out, const TransformTables& tables);

}  // namespace saturating

// Magnitudes of complex points, and how large their parts are. A stage without saturation wants
// points below 2^30: it adds two, and what it multiplies is doubled. Forward it halves the sum, so
// that the points grow by no more than the roundings; back they may double.
//
// The split step adds and subtracts two points and multiplies that, so that it wants them below
// 2^29. It leaves points of at most sqrt(2) times the larger of the two.
inline constexpr Word32 kLargestPart = 5 << 27;  // the parts of points below 0.89 2^30

// Where sums may saturate, what is turned must not leave the range.
inline constexpr Word32 kLargestTurned = 45 << 25;  // the parts of points below 0.995 2^31

// Forward, words that use these bits need no look at the points: sqrt(2) 2^28, and half of 2^30
// before the split step.
inline bool hasForwardHeadroom(UsedBits bits) { return bits <= kKnownBits; }

// The packed spectrum then: sqrt(2) times the largest component, doubled by the split step, and the
// roundings.
inline UsedBits boundOfSpectrum(UsedBits bits) {
  return hasForwardHeadroom(bits) ? doubled(doubled(bits)) : kAllBits;
}

// Back, the points of the pairs' spectrum are at most twice as large as the components of a
// spectrum, which the split step takes below 2^28. Not all at once: sums of four, which two stages
// make, stay below 0.91 2^31.
inline bool hasInverseHeadroom(const ConstBlock& spectrum) {
  return spectrum.bits <= bitsBelow(28);
}
inline std::uint32_t largestPoint(const ConstBlock& spectrum) { return 2 * (spectrum.bits + 1); }

}  // namespace arvessa::kernels
