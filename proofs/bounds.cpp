// SPDX-License-Identifier: Apache-2.0
// What the kernels' words can grow to at most, derived from the tables and constants that the
// library is built of, against the range that their arithmetic has: a line for each bound, with the
// worst case, the limit and the margin between.
//
// A complex value that is turned keeps its magnitude, so that points are bounded by magnitudes:
// what a butterfly gives is at most the sum of those of its two points. Products are floored one by
// one, which moves a point by less than sqrt(5): a sum of two products by less than 2, a difference
// by less than 1; to halve it, by sqrt(1/2) at most.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <numeric>
#include <vector>

#include "arithmetic/operators.h"
#include "kernels/band_split_filters.h"
#include "kernels/coefficients.h"
#include "kernels/fixed_transform.h"
#include "noise_reduction/analysis.h"
#include "noise_reduction/geometry.h"

namespace {

using namespace arvessa;
using namespace arvessa::kernels;

// Of 64 bits of mantissa: a rounding is below 2^-30 for what fits 32 bits, and kSlack above it.
using Real = long double;
constexpr Real kSlack = 1e-6L;
const Real kFloors = std::sqrt(5.0L);
const Real kHalving = std::sqrt(0.5L);
const Real kRoot2 = std::sqrt(2.0L);
constexpr Real kWord = 2147483648.0L;            // sums stay below it
constexpr Real kFactor = (1 << 30) - (1 << 14);  // what halvesOf() takes stays below it
constexpr Real kDoubled = 1 << 30;               // what is doubled stays below it

int failures = 0;

// `worst` includes roundings; it must stay below the limit.
void bound(const char* what, int size, Real worst, Real limit) {
  const bool holds = worst + kSlack < limit;
  char name[80];
  std::snprintf(name, sizeof name, size < 0 ? "%s" : "%s, %d points", what, size);
  std::printf("%s\t%.6Lf of %.0Lf\t%s\n", name, worst / limit, limit,
              holds ? "" : "the worst case");
  failures += holds ? 0 : 1;
}

Real magnitude(const Word16* pair) { return std::hypot(Real(pair[0]), Real(pair[1])) / 32768; }

Real largestTwiddle(const TransformTables& t) {
  Real largest = 0;
  for (int k = 0; k < t.points; ++k) largest = std::max(largest, magnitude(t.twiddles + 2 * k));
  const int used = 4 * ((1 << t.stages) - 2) + (2 << t.stages);
  for (int i = 0; i < used; i += 2) largest = std::max(largest, magnitude(t.rearranged + i));
  return largest;
}

// Bounds of the magnitudes of all points, which a stage combines in twos: n and n + N / 2, then
// those of the results that are as far apart, until one is left for each frequency.
class Points {
 public:
  Points(const TransformTables& tables, std::vector<Real> magnitudes, bool inverse)
      : twiddle_(largestTwiddle(tables)), inverse_(inverse), points_(std::move(magnitudes)) {}

  void stage() {
    const std::size_t half = points_.size() / 2;
    for (std::size_t b = 0; b < half; ++b) {
      const Real sum = points_[b] + twiddle_ * points_[b + half] + kFloors;
      largestFactor = std::max(largestFactor, points_[b + half]);
      largestSum = std::max(largestSum, sum);
      points_[b] = inverse_ ? sum : sum / 2 + kHalving;
    }
    points_.resize(half);
  }
  // All parts have been seen to lie within.
  void hold(Real part) {
    for (Real& point : points_) point = std::min(point, kRoot2 * part);
  }
  Real largest() const { return *std::max_element(points_.begin(), points_.end()); }

  Real largestSum = 0;     // before it is halved
  Real largestFactor = 0;  // before it is turned

 private:
  Real twiddle_;
  bool inverse_;
  std::vector<Real> points_;
};

// The split step of points below `largest`: two are added and subtracted, the difference is turned,
// and both together are at most 2 sqrt(2) times as large, as |p + q|^2 + |p - q|^2 is twice
// |p|^2 + |q|^2. It halves them.
struct Split {
  Split(const TransformTables& tables, Real largest)
      : factor(2 * largest),
        sum(largestTwiddle(tables) * 2 * kRoot2 * largest + kFloors),
        out(sum / 2 + kHalving) {}
  Real factor, sum, out;
};

void forwardOfKnownBits(const TransformTables& t) {
  const Real part = Real(kKnownBits) + 1;
  Points points(t, std::vector<Real>(static_cast<std::size_t>(t.points), kRoot2 * part), false);
  for (int s = 0; s <= t.stages; ++s) points.stage();
  const Split split(t, points.largest());
  bound("forward, known bits: sums", t.points, points.largestSum, kWord);
  bound("forward, known bits: what is turned", t.points, points.largestFactor, kFactor);
  bound("forward, known bits: sums of the split step", t.points, split.sum, kWord);
  bound("forward, known bits: what it turns", t.points, split.factor, kFactor);
  bound("forward, known bits: the spectrum's bits", t.points, split.out,
        Real(boundOfSpectrum(kKnownBits)) + 1);
}

// After two stages, in which the parts are seen to be small.
void forwardOfAny(const TransformTables& t) {
  const auto points4 = static_cast<std::size_t>(t.points / 4);
  const auto large = Real(kLargestPart) + 1;
  Points points(t, std::vector<Real>(points4, kRoot2 * large), false);
  for (int s = 2; s <= t.stages; ++s) points.stage();
  const Split split(t, kRoot2 * (Real(kLargestPart / 2) + 1));
  bound("forward, any words: sums", t.points, points.largestSum, kWord);
  bound("forward, any words: what is turned", t.points, points.largestFactor, kFactor);
  bound("forward, any words: sums of the split step", t.points, split.sum, kWord);
  bound("forward, any words: what it turns", t.points, split.factor, kFactor);
  bound("forward, any words: the spectrum's bits", t.points, split.out, kDoubled);
}

// The first stage leaves halves of words. The second turns none or a quarter of a circle: by a
// factor of 1 - 2^-15 (none), of -1, or of -(1 - 2^-14).
void secondStageOfAny(const TransformTables& t) {
  const std::int64_t least = kMin32 / 2;
  const std::int64_t most = kMax32 / 2;
  std::int64_t largest = 0;
  for (const std::int64_t factor : {t.rearranged[0], t.rearranged[5]}) {
    for (const std::int64_t x : {least, most}) {
      const std::int64_t turned = (x * factor) >> 15;
      for (const std::int64_t a : {least, most}) {
        for (const std::int64_t sum : {a + turned, a - turned}) {
          largest = std::max(largest, sum < 0 ? -sum - 1 : sum);
        }
      }
    }
  }
  bound("forward, any words: sums of the second stage", t.points, static_cast<Real>(largest),
        kWord);
}

// Of a spectrum below 2^b: how large the points of the pairs can be, (X + Y + j w (X - Y)) / 2 for
// w at their frequency. Both |1 + j w| and |1 - j w| are at most 2, but not at once.
std::vector<Real> pointsOfSpectrum(const TransformTables& t, Real part) {
  std::vector<Real> points(static_cast<std::size_t>(t.points), part + 1);  // of bins 0 and N, real
  for (int k = 1; k < t.points; ++k) {
    const Real c = Real(t.twiddles[2 * k]) / 32768;
    const Real s = Real(t.twiddles[2 * k + 1]) / 32768;
    const Real both = std::hypot(1 - s, c) + std::hypot(1 + s, c);
    points[static_cast<std::size_t>(k)] = kRoot2 * part * both / 2 + kFloors / 2 + kHalving;
  }
  return points;
}

// The forms look at the points before `stages` stages unless they are known to be below `known`.
void inverse(const TransformTables& t, bool inPasses) {
  const UsedBits most = bitsBelow(28);
  Real sum = 0;
  Real factor = 0;
  Real splitSum = 0;
  Real splitFactor = 0;
  for (int b = 0; b <= 28; ++b) {
    const ConstBlock spectrum({}, bitsBelow(b));
    if (!hasInverseHeadroom(spectrum)) std::exit(2);
    const Real part = Real(spectrum.bits) + 1;
    const Split split(t, kRoot2 * part);
    splitSum = std::max(splitSum, split.sum);
    splitFactor = std::max(splitFactor, split.factor);
    Points points(t, pointsOfSpectrum(t, part), true);
    std::uint64_t largest = largestPoint(spectrum);
    int s = 0;
    const auto run = [&](int stages, bool turnsAny) {
      if (!turnsAny) points.largestFactor = 0;
      for (int i = 0; i < stages; ++i, ++s) points.stage();
      if (turnsAny) factor = std::max(factor, points.largestFactor);
      points.largestFactor = 0;
    };
    if (inPasses) {
      run(2, false);
      largest *= 4;
      for (int stages = t.stages % 2 == 0 ? 1 : 2; s <= t.stages; stages = 2) {
        if (largest > 1U << 28) {
          points.hold(Real(kLargestPart / 2) + 1);
          largest = 1U << 29;
        }
        largest <<= stages;
        run(stages, true);
      }
    } else {
      for (run(1, true); s <= t.stages; run(1, true)) {
        largest *= 2;
        if (largest > 1U << 29) {
          points.hold(Real(kLargestPart) + 1);
          largest = 1U << 29;
        }
      }
    }
    sum = std::max(sum, points.largestSum);
  }
  if (hasInverseHeadroom({{}, most + 1})) std::exit(2);
  if (inPasses) {
    bound("inverse, sums that saturate: what is turned", t.points,
          largestTwiddle(t) * kRoot2 * (Real(kLargestTurned) + 1) + kFloors, kWord);
  }
  bound(inPasses ? "inverse, in passes: sums" : "inverse: sums", t.points, sum, kWord);
  bound(inPasses ? "inverse, in passes: what is turned" : "inverse: what is doubled", t.points,
        factor, inPasses ? kFactor : kDoubled);
  if (inPasses) return;
  bound("inverse: sums of the split step", t.points, splitSum, kWord);
  bound("inverse: what it turns", t.points, splitFactor, kFactor);
}

Real timesDeemphasis(Real word) { return word * kDeemphasis / kWord; }
constexpr Real kLongProduct = 3;  // units that lMult32 may be off

// Only the history, which may be shifted up until it saturates, and the word after it are large.
// The spectrum of the pairs is the mean of the windowed points, turned.
void spectrumOfAnalysis(const Geometry& g) {
  const Real frame = 1LL << (31 - kAnalysisHeadroom);
  std::vector<Real> words(static_cast<std::size_t>(2 * g.bins), 0);
  for (std::size_t i = 0; i < g.window.size(); ++i) {
    const auto history = static_cast<std::size_t>(g.history);
    const Real before = i < history ? 0 : timesDeemphasis(i == history ? kWord : frame);
    const Real word = i < history ? kWord : frame + before + kLongProduct;
    words[i] = word * g.window[i] / 32768 + 1;
  }
  std::vector<Real> pairs;
  for (std::size_t i = 0; i < words.size(); i += 2) {
    pairs.push_back(std::hypot(words[i], words[i + 1]));
  }
  Points points(g.transform, pairs, false);
  for (int s = 0; s <= g.transform.stages; ++s) points.stage();
  bound("analysis: bits of the spectrum", g.bins, Split(g.transform, points.largest()).out,
        kDoubled);
}

void emphasis() {
  bound("pre-emphasis: sums but the first", -1, kDoubled + timesDeemphasis(kDoubled) + kLongProduct,
        kWord);
  Real worst = 0;
  for (int b = 0; b <= 30; ++b) {
    const Real word = Real(bitsBelow(b)) + 1;
    const Real limit = Real(boundOfPreemphasis(bitsBelow(b), 0)) + 1;
    worst = std::max(worst, (word + timesDeemphasis(word) + kLongProduct) / limit);
  }
  bound("pre-emphasis: its bound, in units of it", -1, worst, 1);
  const Real first = kDoubled + timesDeemphasis(kWord) + kLongProduct;
  const Real later = kDoubled + timesDeemphasis(first) + kLongProduct;
  bound("de-emphasis: sums, rounded", -1, std::max(first, later) + 0x8000, kWord);
}

// All shares together are no larger than the powers, and those stay below 2^30.
void bands(const Geometry& g) {
  int weights = 0;
  for (int k = 0; k < g.bins; ++k) {
    const auto i = static_cast<std::size_t>(k);
    if (g.bank.lowerWeight[i] < 0 || g.bank.upperWeight[i] < 0) weights = 1 << 20;
    weights = std::max(weights, g.bank.lowerWeight[i] + g.bank.upperWeight[i]);
  }
  bound("bands: weights of a bin", g.bins, weights, 32769);
}

void noise() {
  bound("noise: weights of a bin", -1, kSmoothOld + kSmoothCentre + 2 * kSmoothSide, 32768);
  bound("noise: weights of the first and the last bin", -1, kSmoothOld + kSmoothEdge, 32769);
  bound("noise: the threshold", -1, kDoubled + kActiveOffset, kWord);
  bound("noise: sum of 512 words of 22 bits", -1, Real(kMaxTransform) * bitsBelow(22), kWord);
}

void bandSplit(const char* forward, const char* all, const char* low, const Word32* b,
               const Word32* a) {
  const auto add = [](Real sum, Word32 x) { return sum + std::abs(Real(x)); };
  const Real sum = std::accumulate(b, b + kFilterOrder + 1, Real(0), add);
  bound(forward, -1, sum, kWord - 1);
  bound(all, -1, std::accumulate(a + 1, a + kFilterOrder + 1, sum / 8 + 1, add), kWord - 1);
  Real twice = 0;
  for (int i = 0; i <= kFilterOrder; ++i) {
    const Word32 high = (b[i] + 0x4000) >> 15;
    const Real rest = 2 * (b[i] - high * Real(32768));
    twice = std::max({twice, rest, -rest - 1, std::abs(Real(high))});
  }
  bound(low, -1, twice, 32768);
}

}  // namespace

int main() {
  for (int size = 0; size < 3; ++size) {
    const Geometry g = geometryOf(size);
    bound("twiddles: magnitudes", g.bins, largestTwiddle(g.transform), 1 + 1 / 16384.0L);
    forwardOfKnownBits(g.transform);
    secondStageOfAny(g.transform);
    forwardOfAny(g.transform);
    inverse(g.transform, true);
    inverse(g.transform, false);
    spectrumOfAnalysis(g);
    bands(g);
  }
  emphasis();
  noise();
  bandSplit("low-pass: sum over the inputs", "low-pass: sum", "low-pass: halves of coefficients",
            AEC_CONST_LPF_B, AEC_CONST_LPF_A);
  bandSplit("high-pass: sum over the inputs", "high-pass: sum", "high-pass: halves of coefficients",
            AEC_CONST_HPF_B, AEC_CONST_HPF_A);
  return failures == 0 ? 0 : 1;
}
