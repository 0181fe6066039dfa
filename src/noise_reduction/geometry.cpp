// SPDX-License-Identifier: Apache-2.0
#include "noise_reduction/geometry.h"

#include "noise_reduction/tables.h"

namespace arvessa {
namespace {

// The tables of a size, all of their full length.
struct Tables {
  const Word16* twiddles;
  const Word16* rearranged;
  const Word16* window;
  const Word32* bankLeft;
  const Word32* bankRight;
  const Word16* filterLeft;
  const Word16* filterRight;
  const std::uint16_t* firstBins;
};

// Field by field: GCC keeps braces full of addresses as relocated constants in writable data.
Tables tablesOf(int sizeCode) {
  Tables t;
  if (sizeCode == 0) {
    t.twiddles = WVQE_CONST_TABLE_FFT_COEF_8K;
    t.rearranged = WVQE_CONST_TABLE_FFT_COEF_Rearrange_8K;
    t.window = WVQE_CONST_TABLE_WIN_8k;
    t.bankLeft = WVQE_CONST_TABLE_BANK_LEFT_8K;
    t.bankRight = WVQE_CONST_TABLE_BANK_RIGHT_8K;
    t.filterLeft = WVQE_CONST_TABLE_FILTER_LEFT_8K;
    t.filterRight = WVQE_CONST_TABLE_FILTER_RIGHT_8K;
    t.firstBins = kFirstBins8k;
  } else if (sizeCode == 1) {
    t.twiddles = WVQE_CONST_TABLE_FFT_COEF_16K;
    t.rearranged = WVQE_CONST_TABLE_FFT_COEF_Rearrange_16K;
    t.window = WVQE_CONST_TABLE_WIN_16k;
    t.bankLeft = WVQE_CONST_TABLE_BANK_LEFT_16K;
    t.bankRight = WVQE_CONST_TABLE_BANK_RIGHT_16K;
    t.filterLeft = WVQE_CONST_TABLE_FILTER_LEFT_16K;
    t.filterRight = WVQE_CONST_TABLE_FILTER_RIGHT_16K;
    t.firstBins = kFirstBins16k;
  } else {
    t.twiddles = WVQE_CONST_TABLE_FFT_COEF_32K;
    t.rearranged = WVQE_CONST_TABLE_FFT_COEF_Rearrange_32K;
    t.window = WVQE_CONST_TABLE_WIN_32k;
    t.bankLeft = WVQE_CONST_TABLE_BANK_LEFT_32K;
    t.bankRight = WVQE_CONST_TABLE_BANK_RIGHT_32K;
    t.filterLeft = WVQE_CONST_TABLE_FILTER_LEFT_32K;
    t.filterRight = WVQE_CONST_TABLE_FILTER_RIGHT_32K;
    t.firstBins = kFirstBins32k;
  }
  return t;
}

}  // namespace

Geometry geometryOf(int sizeCode) {
  const int size = sizeCode == 0 || sizeCode == 1 ? sizeCode : 2;
  const Tables t = tablesOf(size);
  Geometry g;
  g.frame = kSmallestFrame << size;
  g.bins = kSmallestBins << size;
  g.history = kSmallestHistory << size;
  g.transform.points = g.bins;
  g.transform.stages = 5 + size;
  g.transform.twiddles = t.twiddles;
  g.transform.rearranged = t.rearranged;
  g.transform.reversedBits = u8BitRTab;
  const auto bins = static_cast<std::size_t>(g.bins);
  g.window = {t.window, static_cast<std::size_t>(g.history + g.frame)};
  g.bank.lower = {t.bankLeft, bins};
  g.bank.upper = {t.bankRight, bins};
  g.bank.lowerWeight = {t.filterLeft, bins};
  g.bank.upperWeight = {t.filterRight, bins};
  g.bank.firstBins = t.firstBins;
  return g;
}

}  // namespace arvessa
