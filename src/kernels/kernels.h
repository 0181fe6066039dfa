// SPDX-License-Identifier: Apache-2.0
#pragma once
// The contract of the engine's hot loops: what each computes, its shapes, formats and alias rules,
// and what it must be told of its operands. Every way to compute them is a struct of the same
// functions:
//
//   Plain     defines them: the saturating operators, in the order of the arithmetic
//   Portable  the same bits in fewer steps on any processor
//   Vector    the same bits with four words at a time, where there is a vector unit
//
// A struct that has no better form of a kernel inherits the one before it, so that Vector is
// complete with whatever it has. All kernels take any operands: the bits of a block say how large
// its words may be, and a kernel that cannot saturate below some size falls back to a form before
// it above. A bound that is too wide costs time, one that is too narrow is an error of the caller.
// Of a block that they update, smoothPower and updateNoise look themselves where nothing is known
// (kAllBits).
//
// Blocks do not overlap unless it is said that they may.

#include <cstddef>
#include <cstdint>
#include <span>
#include <tuple>

#include "arithmetic/block.h"

// The vector unit, chosen here only: its name, and the header of its operations (vector_unit.h).
// Processors with wider units define __SSE2__, too.
#if defined(__SSE2__)
#define ARVESSA_VECTOR_UNIT "SSE2"
#define ARVESSA_VECTOR_UNIT_HEADER "kernels/sse2.h"
#elif defined(__ARM_NEON) && !defined(__ARM_BIG_ENDIAN)
#define ARVESSA_VECTOR_UNIT "NEON"
#define ARVESSA_VECTOR_UNIT_HEADER "kernels/neon.h"
#endif

namespace arvessa::kernels {

inline constexpr int kBands = 24;          // of the filterbank, at every rate
inline constexpr int kMaxTransform = 512;  // words of a block, at 32 kHz

// What the forward transform takes without a look at its words.
inline constexpr UsedBits kKnownBits = bitsBelow(28);

// A fixed-point transform of N complex points. Twiddles are pairs (cos t, -sin t) in Q15, at
// multiples of 4 bytes: (32767, 0) at 0, and (0, -32768) or (0, -32766) at pi / 2.
struct TransformTables {
  int points;                // N: 64, 128 or 256
  int stages;                // log2 N - 1, those after the first
  const Word16* twiddles;    // N pairs, t = pi j / N
  const Word16* rearranged;  // the pairs of all stages but the first in the order of their use
  const unsigned char* reversedBits;  // of a byte, 256 entries
};

// Which two of the 24 bands share the power of a bin, and its weights in them, Q15. All of one
// size, the number of bins. Where it is known that the lower band rises from bin to bin,
// `firstBins` has the first bin of each band and, last, the number of bins, a multiple of 4;
// nullptr where it is not.
struct Filterbank {
  std::span<const Word32> lower;  // 0..22
  std::span<const Word32> upper;  // lower + 1
  std::span<const Word16> lowerWeight;
  std::span<const Word16> upperWeight;
  const std::uint16_t* firstBins;  // 25
};

inline constexpr int kFilterOrder = 10;  // of the band split
inline constexpr int kDecimation = 3;
inline constexpr int kMaxLowFrame = 160;

// What a filter of the band split remembers, most recent value first: inputs in Q15, outputs with
// 13 more fraction bits.
struct FilterMemory {
  std::span<Word16, kFilterOrder> x;
  std::span<Word32, kFilterOrder> y;
};

// What the noise estimate remembers of the bins. Powers, the noise with 7 more fraction bits.
struct BinNoise {
  std::span<Word32> windowMinimum;  // of the smoothed power in the current search window
  std::span<Word32> minimum;        // over this window and the previous one
  std::span<Word32> smooth;         // power smoothed over time and frequency
  std::span<Word32> noise;
};
struct NoiseTotals {
  Word32 smooth;  // saturated sums over the bins
  Word32 minimum;
  UsedBits noiseBits;  // of the noise
};

// Of the bands.
struct BandPowers {
  std::span<const Word32, kBands> frame;  // 0 or more
  std::span<const Word32, kBands> noise;  // 0 or more, 7 more fraction bits
};

template <class T>
struct BasicBandSnrs {
  std::span<T, kBands> posterior;  // gamma - 1 in Q8, -256..25600
  std::span<T, kBands> prior;      // xi in Q8, 0..25600
};
using BandSnrs = BasicBandSnrs<const Word16>;

// What speech presence means for a band; both Q15.
struct Presence {
  std::span<Word16, kBands> gain;         // under speech presence
  std::span<Word16, kBands> probability;  // of it
};

struct Plain {
  static constexpr const char* kName = "plain";

  // usedBits() and normalised() of arithmetic/block.h.
  static UsedBits bitsOf(std::span<const Word32> words);
  static Block normalise(std::span<Word32> words, Word16 headroom);

  // Samples in the upper halves of words, normalised.
  static Block normaliseSamples(std::span<const Word16> samples, Word16 headroom,
                                std::span<Word32> words);

  // x[i] = floor(x[i] f[i] / 2^15) for factors of 0 or more, such as windows. Returns what bounds
  // the products: of words beyond kKnownBits their bits, as factors may take away what is above.
  static UsedBits multiply(Block x, std::span<const Word16> factors);

  // out[n] = x[n] - 0.40327 x[n-1], with `previous` before x[0]. `x` has a
  // multiple of 4 words, 8 at least. Returns what bounds the output.
  static UsedBits preemphasise(ConstBlock x, Word32 previous, std::span<Word32> out);

  // Real FFT of 2N words x[m], as N complex points x[2n] + j x[2n+1]: radix 2 in constant geometry
  // (Pease 1968), then the split of the pairs' spectrum. Every stage halves: the DFT divided by N.
  // The packed spectrum is written to `out`: real values of bins 0 and N, then real and imaginary
  // part of bins 1..N-1. `x` is used up. Returns what bounds the spectrum.
  static UsedBits forwardTransform(Block x, const TransformTables& tables, std::span<Word32> out);

  // And back, without halving: the words that a forward transform came from.
  static void inverseTransform(ConstBlock spectrum, const TransformTables& tables,
                               std::span<Word32> out);

  // power[k] = 2 (re^2 + im^2) of the rounded upper halves of a packed spectrum whose exponent has
  // been taken out, flooring and saturating; the power saturates, too. Bin 0 without the bin N that
  // shares its slot. A multiple of 64 bins. Returns the bits of the powers.
  static UsedBits powers(ConstBlock spectrum, std::span<Word32> power);

  // The 24 sums of the bins' shares, saturating in the order of the bins.
  static void sumIntoBands(ConstBlock bins, const Filterbank& bank,
                           std::span<Word32, kBands> bands);

  // The weighted sum of a bin's two bands, Q15, floored.
  static void spreadToBins(std::span<const Word16, kBands> bands, const Filterbank& bank,
                           std::span<Word16> bins);

  // One frame of the noise estimate, of four bins at least. alpha: 0 or more, Q15. `active` becomes
  // 1 or 0 for each bin.
  //
  //   smooth[k] = 0.8 smooth[k] + 0.05 power[k-1] + 0.1 power[k] + 0.05 power[k+1], at both ends
  //   0.8 smooth[k] + 0.2 power[k]
  //   both minima take smooth[k] in
  //   active[k] = 1 if 0.31 smooth[k] exceeds minimum[k] by more than 20, else 0
  //   noise[k] = max(0, alpha 2^7 power[k] + (1 - alpha) noise[k]) in bins that are not active, or
  //   whose power lies below the noise; 7 fraction bits
  static NoiseTotals trackNoise(ConstBlock power, const BinNoise& bins, Word16 alpha,
                                std::span<unsigned char> active);

  // Both parts of bin k of a packed spectrum by gains[k], Q15, 0 or more; bin N, packed with bin 0 and
  // zero since the analysis, by gains[0].
  static void scaleBins(Block spectrum, std::span<const Word16> gains);

  // The SNRs of the bands from their powers and the clean speech of the frame before.
  static void estimateSnr(const BandPowers& power, std::span<const Word32, kBands> speech,
                          const BasicBandSnrs<Word16>& snr);

  // The gains under speech presence, its probability, and the clean-speech power for the a priori SNR
  // of the next frame. globalPresence, of the frame: 4024..32734, Q15.
  static void gainsUnderPresence(const BandSnrs& snr, std::span<const Word32, kBands> framePower,
                                 std::span<const Word16, kBands> smoothSnr, Word16 globalPresence,
                                 std::span<Word32, kBands> speech, const Presence& presence);

  // Holds the gains above the floor, in place, and mixes: (p sqrt(gain) + (1 - p) sqrt(floor))
  // squared, Q15. The floor fades where there is no noise.
  static void mixWithFloor(std::span<const Word32, kBands> noise, Word16 floorGain,
                           std::span<const Word16, kBands> probability,
                           std::span<Word16, kBands> gain, std::span<Word16, kBands> bandGain);

  // Overlap-add. The exponent is taken out of `time`, flooring and saturating; its first words with
  // `overlap` added, saturated, are the block, and the words after the block the new overlap.
  // `block` may begin where `time` does; it is no shorter than `overlap`, and both together are as
  // long as `time`. Returns what bounds the block.
  static UsedBits addOverlap(ConstBlock time, std::span<Word32> overlap, std::span<Word32> block);

  // y[n] = x[n] + 0.40327 y[n-1] with y[-1] in `memory`; out[n] is twice the rounded upper half of
  // y[n], saturated, Q15.
  static void deemphasise(ConstBlock x, Word32& memory, std::span<Word16> out);

  // The recursive filters of the band split (band_split_filters.h), L at most 160. Low-pass, then
  // the first of every three outputs: 3 L samples to L, rounded.
  static void lowPassAndDecimate(std::span<const Word16> in, const FilterMemory& memory,
                                 std::span<Word16> low);

  // 3 L samples to 3 L, rounded.
  static void highPass(std::span<const Word16> in, const FilterMemory& memory,
                       std::span<Word16> high);

  // L samples of `low` as every third of 3 L, interpolated by the low-pass with a gain of 3, plus
  // `high`, saturated. `out` may begin where `low` does.
  static void interpolateAndAdd(std::span<const Word16> low, const FilterMemory& memory,
                                std::span<const Word16> high, std::span<Word16> out);

  // peaks[j]: the largest squared sample of the j-th of equal parts of `samples`, Q30; a full-scale
  // square is held below 1. The parts are multiples of 8 long.
  static void peakPowers(std::span<const Word16> samples, std::span<Word32> peaks);

  // y[n] = gain x[n] / 2^15, floored and saturated. `y` may be `x`.
  static void amplify(std::span<const Word16> x, Word32 gain, std::span<Word16> y);
};

struct Portable : Plain {
  static constexpr const char* kName = "portable";

  static Block normaliseSamples(std::span<const Word16> samples, Word16 headroom,
                                std::span<Word32> words);
  static UsedBits multiply(Block x, std::span<const Word16> factors);
  static UsedBits preemphasise(ConstBlock x, Word32 previous, std::span<Word32> out);
  static UsedBits forwardTransform(Block x, const TransformTables& tables, std::span<Word32> out);
  static void inverseTransform(ConstBlock spectrum, const TransformTables& tables,
                               std::span<Word32> out);
  static UsedBits powers(ConstBlock spectrum, std::span<Word32> power);
  static void sumIntoBands(ConstBlock bins, const Filterbank& bank,
                           std::span<Word32, kBands> bands);
  static void spreadToBins(std::span<const Word16, kBands> bands, const Filterbank& bank,
                           std::span<Word16> bins);
  static NoiseTotals trackNoise(ConstBlock power, const BinNoise& bins, Word16 alpha,
                                std::span<unsigned char> active);
  static void scaleBins(Block spectrum, std::span<const Word16> gains);
  static UsedBits addOverlap(ConstBlock time, std::span<Word32> overlap, std::span<Word32> block);
  static void deemphasise(ConstBlock x, Word32& memory, std::span<Word16> out);
  static void lowPassAndDecimate(std::span<const Word16> in, const FilterMemory& memory,
                                 std::span<Word16> low);
  static void highPass(std::span<const Word16> in, const FilterMemory& memory,
                       std::span<Word16> high);
  static void interpolateAndAdd(std::span<const Word16> low, const FilterMemory& memory,
                                std::span<const Word16> high, std::span<Word16> out);
  static void peakPowers(std::span<const Word16> samples, std::span<Word32> peaks);
  static void amplify(std::span<const Word16> x, Word32 gain, std::span<Word16> y);
};

// The steps of trackNoise as they are defined.
void smoothPower(std::span<Word32> smooth, std::span<const Word32> power);
void findActiveBins(std::span<const Word32> smooth, std::span<const Word32> minimum,
                    std::span<unsigned char> active);
Word32 saturatedSum(std::span<const Word32> words);
void updateNoise(std::span<Word32> noise, std::span<const Word32> power,
                 std::span<const unsigned char> active, Word16 alpha);

#ifdef ARVESSA_VECTOR_UNIT
struct Vector : Portable {
  static constexpr const char* kName = ARVESSA_VECTOR_UNIT;

  static UsedBits bitsOf(std::span<const Word32> words);
  static Block normalise(std::span<Word32> words, Word16 headroom);
  static Block normaliseSamples(std::span<const Word16> samples, Word16 headroom,
                                std::span<Word32> words);
  static UsedBits multiply(Block x, std::span<const Word16> factors);
  static UsedBits preemphasise(ConstBlock x, Word32 previous, std::span<Word32> out);
  static UsedBits forwardTransform(Block x, const TransformTables& tables, std::span<Word32> out);
  static void inverseTransform(ConstBlock spectrum, const TransformTables& tables,
                               std::span<Word32> out);
  static UsedBits powers(ConstBlock spectrum, std::span<Word32> power);
  static void sumIntoBands(ConstBlock bins, const Filterbank& bank,
                           std::span<Word32, kBands> bands);
  static void spreadToBins(std::span<const Word16, kBands> bands, const Filterbank& bank,
                           std::span<Word16> bins);
  static NoiseTotals trackNoise(ConstBlock power, const BinNoise& bins, Word16 alpha,
                                std::span<unsigned char> active);
  static void estimateSnr(const BandPowers& power, std::span<const Word32, kBands> speech,
                          const BasicBandSnrs<Word16>& snr);
  static void gainsUnderPresence(const BandSnrs& snr, std::span<const Word32, kBands> framePower,
                                 std::span<const Word16, kBands> smoothSnr, Word16 globalPresence,
                                 std::span<Word32, kBands> speech, const Presence& presence);
  static void mixWithFloor(std::span<const Word32, kBands> noise, Word16 floorGain,
                           std::span<const Word16, kBands> probability,
                           std::span<Word16, kBands> gain, std::span<Word16, kBands> bandGain);
  static void scaleBins(Block spectrum, std::span<const Word16> gains);
  static UsedBits addOverlap(ConstBlock time, std::span<Word32> overlap, std::span<Word32> block);
  static void deemphasise(ConstBlock x, Word32& memory, std::span<Word16> out);
  static void lowPassAndDecimate(std::span<const Word16> in, const FilterMemory& memory,
                                 std::span<Word16> low);
  static void highPass(std::span<const Word16> in, const FilterMemory& memory,
                       std::span<Word16> high);
  static void interpolateAndAdd(std::span<const Word16> low, const FilterMemory& memory,
                                std::span<const Word16> high, std::span<Word16> out);
  static void peakPowers(std::span<const Word16> samples, std::span<Word32> peaks);
  static void amplify(std::span<const Word16> x, Word32 gain, std::span<Word16> y);
};
using Forms = std::tuple<Plain, Portable, Vector>;
#else
using Forms = std::tuple<Plain, Portable>;
#endif

// What the library is built with.
#if defined(ARVESSA_KERNELS_PLAIN)
using ActiveForm = Plain;
#elif defined(ARVESSA_KERNELS_PORTABLE)
using ActiveForm = Portable;
#else
using ActiveForm = std::tuple_element_t<std::tuple_size_v<Forms> - 1, Forms>;
#endif

}  // namespace arvessa::kernels

namespace arvessa {
using Kernels = kernels::ActiveForm;
}
