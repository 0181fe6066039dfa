// SPDX-License-Identifier: Apache-2.0
#pragma once
// What follows from the rate: frame, transform, history and tables. No stage looks at a rate code.

#include <algorithm>
#include <bit>
#include <iterator>
#include <span>

#include "kernels/kernels.h"

namespace arvessa {

using kernels::kBands;
using kernels::kFilterOrder;
using kernels::kMaxLowFrame;
using kernels::kMaxTransform;

// At 8 kHz; each size code doubles them.
inline constexpr int kSmallestFrame = 80;
inline constexpr int kSmallestBins = 64;
inline constexpr int kSmallestHistory = 24;
static_assert(2 * kSmallestBins == kSmallestFrame + 2 * kSmallestHistory);

inline constexpr int kMaxBins = 256;           // at 32 kHz
inline constexpr int kMaxFrame = 320;          // samples through the spectral chain, at 32 kHz
inline constexpr int kMaxHistory = 96;         // at 32 kHz
inline constexpr int kMaxOverlap = 192;        // at 32 kHz
inline constexpr int kMaxFullbandFrame = 480;  // at 48 kHz
inline constexpr int kUpperBandHistory = 144;  // samples by which the upper band lags its frame
inline constexpr int kUpperBandDelay = kMaxFullbandFrame + kUpperBandHistory;

// The spectral chain: N new samples, K bins (real transform of 2K points), H history samples, by
// which the output lags the input. 2K = H + N + H: a block is history, new samples and zeros.
struct Geometry {
  int frame;    // N
  int bins;     // K
  int history;  // H
  kernels::TransformTables transform;
  std::span<const Word16> window;  // H + N values, Q15
  kernels::Filterbank bank;
};

// By size code 0, 1 and 2: 64, 128 and 256 bins, for 8, 16 and 32 kHz. Another code counts as 2. A
// transform size has one geometry only: the exported stages know it by the size.
Geometry geometryOf(int sizeCode);

// The size code of blocks of `words` words. Another size counts as 512.
constexpr int sizeCodeOf(int words) { return words == 128 ? 0 : words == 256 ? 1 : 2; }

// By rate code: 8, 16, 32 and 48 kHz.
inline constexpr int kRateCodes = 4;
struct Rate {
  int samples;     // of a 10 ms frame
  int sizeCode;    // of the spectral chain
  bool splitBand;  // the chain runs on the lower band, a third of the rate
};
inline constexpr Rate kRates[kRateCodes] = {
    {80, 0, false}, {160, 1, false}, {320, 2, false}, {480, 1, true}};
static_assert(std::all_of(std::begin(kRates), std::end(kRates), [](const Rate& rate) {
  const int frame = kSmallestFrame << rate.sizeCode;
  return rate.splitBand ? frame == kMaxLowFrame && rate.samples == kMaxFullbandFrame
                        : rate.samples == frame;
}));

// Of a rate code, whose other bits do not count.
static_assert(std::has_single_bit(unsigned{kRateCodes}));
constexpr const Rate& rateOf(int code) { return kRates[code & (kRateCodes - 1)]; }

}  // namespace arvessa
