// SPDX-License-Identifier: Apache-2.0
// Formulas behind the constant tables. Transcendental values are taken in double precision and
// rounded or truncated to the stored format by the rule of each table.
#include "reference/tables.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numbers>
#include <span>

namespace reference {
namespace {

constexpr double kPi = std::numbers::pi;

using Weights = std::span<const Word16>;

Word16 limited(double value) { return sat16(std::llround(value)); }

std::vector<std::uint8_t> bitReversal() {
  std::vector<std::uint8_t> table;
  for (unsigned i = 0; i < 256; ++i) {
    unsigned reversed = 0;
    for (unsigned bit = 0; bit < 8; ++bit) reversed |= (i >> bit & 1) << (7 - bit);
    table.push_back(static_cast<std::uint8_t>(reversed));
  }
  return table;
}

Table16 powersOfTwo() {
  Table16 table;
  for (int i = 0; i <= 64; ++i) {
    table.push_back(
        static_cast<Word16>(std::min(32767.0, std::floor(16384 * std::exp2(i / 64.0)))));
  }
  return table;
}

// Kummer's transformation M(-0.25; 1; -v) = e^-v M(1.25; 1; v) leaves a series of positive terms.
TableU16 amplitudeGain() {
  TableU16 table;
  for (int i = 0; i <= 20; ++i) {
    const double v = i / 2.0;
    double term = 1;
    double sum = 1;
    for (int n = 0; n < 200; ++n) {
      term *= (1.25 + n) * v / ((n + 1.0) * (n + 1.0));
      sum += term;
    }
    const double root = std::tgamma(1.25) * std::exp(-v) * sum;
    table.push_back(static_cast<std::uint16_t>(std::lround(root * root * 8192)));
  }
  return table;
}

Table16 halfTurn(int pairs) {
  Table16 table;
  for (int j = 0; j < pairs; ++j) {
    table.push_back(limited(32768 * std::cos(kPi * j / pairs)));
    table.push_back(limited(-32768 * std::sin(kPi * j / pairs)));
  }
  return table;
}

// Every stage of an N-point transform has twice the angles of the stage before it. All but the last
// consume each of them twice.
Table16 consumptionOrder(std::size_t N, Weights early, Weights last) {
  Table16 table;
  const auto append = [&](Weights from, std::size_t g, std::size_t parts) {
    const auto pair = from.subspan(from.size() / 2 * g / parts * 2, 2);
    table.insert(table.end(), pair.begin(), pair.end());
  };
  for (std::size_t parts = 2; parts < N / 2; parts *= 2) {
    for (std::size_t g = 0; g < 2 * parts; ++g) append(early, g / 2, parts);
  }
  for (std::size_t k = 0; k < N / 2; ++k) append(last, k, N / 2);
  return table;
}

Table16 raisedCosineWindow() {
  Table16 table(104, 32767);
  for (std::size_t i = 0; i < 24; ++i) {
    const double s = std::sin(kPi * (static_cast<double>(i) + 0.5) / 48);
    table[i] = table[103 - i] = limited(32767 * s * s);
  }
  return table;
}

// Along one slope of the triangular filterbank the right weight climbs from bin to bin; wherever it
// drops, the next left band begins.
Table32 bands(Weights right, Word32 first) {
  Table32 table = {first};
  for (std::size_t k = 1; k < right.size(); ++k) {
    table.push_back(table.back() + (right[k] < right[k - 1] ? 1 : 0));
  }
  return table;
}

Table16 complement(Weights right) {
  Table16 table;
  for (const Word16 weight : right) table.push_back(lowHalf(32767 - weight));
  return table;
}

TableFloat asFloats(Weights q15) {
  TableFloat table;
  for (const Word16 q : q15) table.push_back(static_cast<float>(q / 32767.0));
  return table;
}

TableFloat beamWindow() {
  TableFloat table = asFloats(raisedCosineWindow());
  table[2] = table[101] = std::nextafter(table[2], 0.0F);
  return table;
}

}  // namespace

const std::vector<std::uint8_t> u8BitRTab = bitReversal();
const Table16 WVQE_CONST_TABLE_POW2 = powersOfTwo();
const TableU16 WVQE_CONST_TABLE_HYPERGEOM_GAIN = amplitudeGain();

const Table16 WVQE_CONST_TABLE_FFT_COEF_8K = halfTurn(64);
const Table16 WVQE_CONST_TABLE_FFT_COEF_Rearrange_8K =
    consumptionOrder(64, WVQE_CONST_TABLE_FFT_COEF_8K, WVQE_CONST_TABLE_FFT_COEF_8K);
const Table16 WVQE_CONST_TABLE_FFT_COEF_Rearrange_16K =
    consumptionOrder(128, WVQE_CONST_TABLE_FFT_COEF_16K, WVQE_CONST_TABLE_FFT_COEF_16K);
const Table16 WVQE_CONST_TABLE_FFT_COEF_Rearrange_32K =
    consumptionOrder(256, WVQE_CONST_TABLE_FFT_COEF_16K, WVQE_CONST_TABLE_FFT_COEF_32K);

const Table16 WVQE_CONST_TABLE_WIN_8k = raisedCosineWindow();

const Table32 WVQE_CONST_TABLE_BANK_LEFT_8K = bands(WVQE_CONST_TABLE_FILTER_RIGHT_8K, 0);
const Table32 WVQE_CONST_TABLE_BANK_LEFT_16K = bands(WVQE_CONST_TABLE_FILTER_RIGHT_16K, 0);
const Table32 WVQE_CONST_TABLE_BANK_LEFT_32K = bands(WVQE_CONST_TABLE_FILTER_RIGHT_32K, 0);
const Table32 WVQE_CONST_TABLE_BANK_RIGHT_8K = bands(WVQE_CONST_TABLE_FILTER_RIGHT_8K, 1);
const Table32 WVQE_CONST_TABLE_BANK_RIGHT_16K = bands(WVQE_CONST_TABLE_FILTER_RIGHT_16K, 1);
const Table32 WVQE_CONST_TABLE_BANK_RIGHT_32K = bands(WVQE_CONST_TABLE_FILTER_RIGHT_32K, 1);
const Table16 WVQE_CONST_TABLE_FILTER_LEFT_8K = complement(WVQE_CONST_TABLE_FILTER_RIGHT_8K);
const Table16 WVQE_CONST_TABLE_FILTER_LEFT_16K = complement(WVQE_CONST_TABLE_FILTER_RIGHT_16K);
const Table16 WVQE_CONST_TABLE_FILTER_LEFT_32K = complement(WVQE_CONST_TABLE_FILTER_RIGHT_32K);

const TableFloat MVDR_CONST_TABLE_FFT_fCOEF_8K = asFloats(halfTurn(64));
const TableU16 MVDR_CONST_TABLE_PHASE_INDEX_8K = {64, 32, 16, 8, 4, 2};
const TableFloat MVDR_CONST_TABLE_fWIN_8k = beamWindow();

}  // namespace reference
