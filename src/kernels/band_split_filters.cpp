// SPDX-License-Identifier: Apache-2.0
#include "kernels/band_split_filters.h"

#include <algorithm>

#include "arithmetic/operators.h"
#include "kernels/kernels.h"
#include "kernels/products.h"

#ifdef ARVESSA_VECTOR_UNIT
#include "kernels/vector_unit.h"
#endif

extern "C" {

constexpr Word32 AEC_CONST_LPF_B[11] = {1555398, -527,    3893368, 1915471, 4733362, 3425721,
                                        4733362, 1915471, 3893368, -527,    1555398};
constexpr Word32 AEC_CONST_LPF_A[11] = {67108864,  -198873215, 355690468, -398456778,
                                        327610495, -189089847, 82965782,  -24358083,
                                        5499931,   -552504,    74750};
constexpr Word32 AEC_CONST_HPF_B[11] = {1787206,   -14781815,  57595579,  -138815188,
                                        228773752, -269118378, 228773752, -138815188,
                                        57595579,  -14781815,  1787206};
constexpr Word32 AEC_CONST_HPF_A[11] = {8388608,   -46670222,  127697504, -221896864,
                                        268508665, -234914404, 149844223, -68607696,
                                        21536335,  -4180170,   380767};

}  // extern "C"

namespace arvessa::kernels {
namespace {

using Coefficients = Word32[kFilterOrder + 1];

struct LowPass {
  static constexpr bool kEveryThird = false;
  static constexpr const Coefficients& b = AEC_CONST_LPF_B;
  static constexpr const Coefficients& a = AEC_CONST_LPF_A;
  static constexpr Word16 kShift = kLowPassShift;
};
// Of samples that lie between two zeros each.
struct InterpolatingLowPass : LowPass {
  static constexpr bool kEveryThird = true;
};
struct HighPass {
  static constexpr bool kEveryThird = false;
  static constexpr const Coefficients& b = AEC_CONST_HPF_B;
  static constexpr const Coefficients& a = AEC_CONST_HPF_A;
  static constexpr Word16 kShift = kHighPassShift;
};

// Whether no sum of a filter can saturate, whatever its memories hold. A product with a 16-bit
// input lies within |B|, one with a 32-bit output within |A|; none is with -1.
template <class Design>
constexpr bool cannotSaturate() {
  std::int64_t forward = 0;
  std::int64_t feedback = 0;
  for (int i = 0; i <= kFilterOrder; ++i) {
    forward += Design::b[i] < 0 ? -std::int64_t{Design::b[i]} : Design::b[i];
    if (i > 0) feedback += Design::a[i] < 0 ? -std::int64_t{Design::a[i]} : Design::a[i];
  }
  return forward < kMax32 && forward / 8 + 1 + feedback < kMax32;
}
// So the sums below are plain ones.
static_assert(cannotSaturate<LowPass>() && cannotSaturate<HighPass>());

// roundHigh(lShl(v, count)): what saturates there, saturates here.
Word16 rounded(Word32 v, int count) {
  return saturate16((v >> (16 - count)) + ((v >> (15 - count)) & 1));
}
// lShl(v, count) in fewer steps.
Word32 shifted(Word32 v, int count) {
  const auto y = static_cast<Word32>(static_cast<std::uint32_t>(v) << count);
  return y >> count == v ? y : v < 0 ? kMin32 : kMax32;
}

// Whole blocks in steps of a kind. A filter first sums what looks at the input only,
// v[n] = sum floor(b[i] x[n - i] / 2^15) >> 3, and then takes sum floor(a[i] y[n - i] / 2^31) from
// that, where y = 2^shift v, saturated. Before the blocks lie the ten values of the memories; the
// blocks may be read and written up to the next multiple of 8. Afterwards the last ten y are
// there. False, and v is lost, if values lie outside of the range that the steps can compute.
struct OneByOne {
  template <class Design>
  static bool filter(const Word16* x, Word32* y, std::size_t samples, Word32* v) {
    if (Design::kEveryThird && betweenZeros(x)) {
      forwardEveryThird<Design>(x, samples, v);
    } else {
      forward<Design>(x, samples, v);
    }
    for (std::size_t n = 0; n < samples; n += 2, y += 2) {
      Word32 first = v[n];
      Word32 second = v[n + 1];
#pragma GCC unroll 9
      for (int i = kFilterOrder; i > 1; --i) {
        first -= upperProduct(2 * Design::a[i], y[-i]);
        second -= upperProduct(2 * Design::a[i], y[1 - i]);
      }
      v[n] = first - upperProduct(2 * Design::a[1], y[-1]);
      y[0] = shifted(v[n], Design::kShift);
      v[n + 1] = second - upperProduct(2 * Design::a[1], y[0]);
      y[1] = shifted(v[n + 1], Design::kShift);
    }
    return true;
  }

  // Whether of the ten values before x only every third, the last one included, is not zero.
  static bool betweenZeros(const Word16* x) {
    return (x[-2] | x[-3] | x[-5] | x[-6] | x[-8] | x[-9]) == 0;
  }

  template <class Design>
  static void forward(const Word16* x, std::size_t samples, Word32* v) {
    for (std::size_t n = 0; n < samples; n += 2, x += 2) {
      Word32 first = 0;
      Word32 second = 0;
      FactorPair now = loadPair(x);
#pragma GCC unroll 5
      for (int i = 0; i < kFilterOrder; i += 2) {
        const FactorPair before = loadPair(x - i - 2);
        first = addByFirst(first, 2 * Design::b[i], now);
        second = addBySecond(second, 2 * Design::b[i], now);
        first = addBySecond(first, 2 * Design::b[i + 1], before);
        second = addByFirst(second, 2 * Design::b[i + 1], now);
        now = before;
      }
      v[n] = addByFirst(first, 2 * Design::b[kFilterOrder], now) >> 3;
      v[n + 1] = addBySecond(second, 2 * Design::b[kFilterOrder], now) >> 3;
    }
  }

  // Where only the last of every three values is not zero.
  template <class Design>
  static void forwardEveryThird(const Word16* x, std::size_t samples, Word32* v) {
    for (std::size_t n = 0; n < samples; n += kDecimation, x += kDecimation) {
      const FactorPair now = pairOf(x[2]);
      const FactorPair before[4] = {pairOf(x[-1]), pairOf(x[-4]), pairOf(x[-7]), pairOf(x[-10])};
      Word32 sums[3] = {0, 0, addByFirst(0, 2 * Design::b[0], now)};
#pragma GCC unroll 10
      for (int i = 1; i <= kFilterOrder; ++i) {
        Word32& sum = sums[(i + 2) % 3];
        sum = addByFirst(sum, 2 * Design::b[i], before[(i - 1) / 3]);
      }
      for (std::size_t r = 0; r < 3; ++r) v[n + r] = sums[r] >> 3;
    }
  }

  static void addHigh(const Word32* v, std::span<const Word16> high, Word16* out) {
    for (std::size_t n = 0; n < high.size(); ++n) {
      out[n] = add(high[n], rounded(lAdd(v[n], lAdd(v[n], v[n])), kLowPassRounding));
    }
  }
  static void roundHighPass(const Word32* v, std::size_t samples, Word16* high) {
    for (std::size_t n = 0; n < samples; ++n) high[n] = rounded(v[n], kHighPassRounding);
  }
};

#ifdef ARVESSA_VECTOR_UNIT
struct InVectors {
  template <class Design>
  static bool filter(const Word16* x, Word32* y, std::size_t samples, Word32* v) {
    const FeedbackTaps feedbackTaps = feedbackTapsOf(Design::a);
    if (Design::kEveryThird && OneByOne::betweenZeros(x)) {
      forwardEveryThird<Design>(x, samples, feedbackTaps.excess, v);
    } else {
      forward<Design>(x, samples, feedbackTaps.excess, v);
    }
    Feedback feedback(feedbackTaps);
#pragma GCC unroll 1
    for (int i = kFilterOrder; i > 0; i -= 2) feedback.remember(y - i);
    for (std::size_t n = 0; n < samples; n += 2) feedback.step<Design::kShift>(v + n);
    // What precedes the first value that is too large is exact.
    if (usedBits({y - kFilterOrder, kFilterOrder}) > kFeedbackBits ||
        Vector::bitsOf({v, samples}) > kFeedbackBits >> Design::kShift) {
      return false;
    }
    const std::size_t kept = std::min<std::size_t>(samples, kFilterOrder);
    for (std::size_t n = samples - kept; n < samples; ++n) y[n] = v[n] * (1 << Design::kShift);
    return true;
  }

  // v and an excess.
  template <class Design>
  [[gnu::noinline]] static void forward(const Word16* x, std::size_t samples, Word32 excess,
                                        Word32* v) {
    TapPair taps[kFilterOrder / 2 + 1];
    for (int i = 0; i < kFilterOrder; i += 2) taps[i / 2] = tapPair(Design::b[i], Design::b[i + 1]);
    taps[kFilterOrder / 2] = tapPair(Design::b[kFilterOrder], 0);
    for (std::size_t n = 0; n < samples; n += 8) {
      Words first = splat(0);
      Words second = splat(0);
      for (int i = 0; i <= kFilterOrder / 2; ++i) addTaps(first, second, x + n - 2 * i, taps[i]);
      store(v + n, (first >> 3) + excess);
      store(v + n + 4, (second >> 3) + excess);
    }
  }

  // Where only the last of every three values is not zero: an output v[3 m + r] takes every third
  // coefficient.
  template <class Design>
  static void forwardEveryThird(const Word16* x, std::size_t samples, Word32 excess, Word32* v) {
    constexpr const Coefficients& b = Design::b;
    constexpr std::size_t kHistory = 4;
    const TapPair taps[3][2] = {{tapPair(b[1], b[4]), tapPair(b[7], b[10])},
                                {tapPair(b[2], b[5]), tapPair(b[8], 0)},
                                {tapPair(b[0], b[3]), tapPair(b[6], b[9])}};
    const std::size_t values = (samples / 3 + 7) / 8 * 8;
    Word16 packed[kHistory + kMaxLowFrame];
    x -= 3 * kHistory - 2;
    for (std::size_t m = 0; m < kHistory + values; ++m) packed[m] = x[3 * m];
    for (std::size_t m = 0; m < values; m += 8) {
      Word32 phases[3][8];
      for (std::size_t r = 0; r < 3; ++r) {
        const Word16* const latest = packed + kHistory + m - (r == 2 ? 0 : 1);
        Words first = splat(0);
        Words second = splat(0);
        addTaps(first, second, latest, taps[r][0]);
        addTaps(first, second, latest - 2, taps[r][1]);
        store(phases[r], (first >> 3) + excess);
        store(phases[r] + 4, (second >> 3) + excess);
      }
      for (std::size_t i = 0; i < 8; ++i, v += 3) {
        for (std::size_t r = 0; r < 3; ++r) v[r] = phases[r][i];
      }
    }
  }

  // After the filter v has headroom for three times the rounded value.
  static void addHigh(const Word32* v, std::span<const Word16> high, Word16* out) {
    constexpr int kFraction = 16 - kLowPassRounding;
    std::size_t n = 0;
    for (; n + 4 <= high.size(); n += 4) {
      const Words x = load(v + n);
      const Words rounded = (x + x + x + (1 << (kFraction - 1))) >> kFraction;
      storeSaturatedSum(out + n, &high[n], rounded);
    }
    OneByOne::addHigh(v + n, high.subspan(n), out + n);
  }
  static void roundHighPass(const Word32* v, std::size_t samples, Word16* high) {
    constexpr int kFraction = 16 - kHighPassRounding;
    std::size_t n = 0;
    for (; n + 4 <= samples; n += 4) {
      storeSaturated(high + n, (load(v + n) + (1 << (kFraction - 1))) >> kFraction);
    }
    OneByOne::roundHighPass(v + n, samples - n, high + n);
  }
};
#endif

// A filter with its memories laid out in time: the ten values before the block, oldest first, then
// the block itself.
template <class Design>
class Filter {
 public:
  explicit Filter(const FilterMemory& memory) : memory_(memory) {
    std::reverse_copy(memory.x.begin(), memory.x.end(), input() - kOrder);
    std::reverse_copy(memory.y.begin(), memory.y.end(), y_);
  }

  Word16* input() { return x_ + kBefore; }

  // v of the block; the memories are then those after it. Nothing if the steps cannot compute it.
  template <class Steps>
  const Word32* run(std::size_t samples) {
    if (!Steps::template filter<Design>(input(), y_ + kOrder, samples, v_)) return nullptr;
    const Word16* const x = input() + samples - kOrder;
    const Word32* const y = y_ + samples;
    std::reverse_copy(x, x + kOrder, memory_.x.begin());
    std::reverse_copy(y, y + kOrder, memory_.y.begin());
    return v_;
  }

 private:
  static constexpr std::size_t kOrder = kFilterOrder;
  static constexpr std::size_t kBefore = kOrder + 2;  // even; a vector reads one more
  static constexpr std::size_t kMaxBlock = kDecimation * kMaxLowFrame;
  static_assert(kMaxBlock % 8 == 0);

  FilterMemory memory_;
  alignas(4) Word16 x_[kBefore + kMaxBlock] = {};
  Word32 y_[kOrder + kMaxBlock];
  Word32 v_[kMaxBlock];
};

// The kernels in steps of a kind: false, and nothing is written, if these cannot compute it.
template <class Steps>
bool decimated(std::span<const Word16> in, const FilterMemory& memory, std::span<Word16> low) {
  Filter<LowPass> filter(memory);
  std::copy(in.begin(), in.end(), filter.input());
  const Word32* const v = filter.run<Steps>(in.size());
  if (v == nullptr) return false;
  for (std::size_t n = 0; n < low.size(); ++n)
    low[n] = rounded(v[kDecimation * n], kLowPassRounding);
  return true;
}

template <class Steps>
bool highPassed(std::span<const Word16> in, const FilterMemory& memory, std::span<Word16> high) {
  Filter<HighPass> filter(memory);
  std::copy(in.begin(), in.end(), filter.input());
  const Word32* const v = filter.run<Steps>(in.size());
  if (v != nullptr) Steps::roundHighPass(v, in.size(), high.data());
  return v != nullptr;
}

template <class Steps>
bool interpolated(std::span<const Word16> low, const FilterMemory& memory,
                  std::span<const Word16> high, std::span<Word16> out) {
  Filter<InterpolatingLowPass> filter(memory);
  Word16* sample = filter.input() - 1;
  for (const Word16 x : low) *(sample += kDecimation) = x;
  const Word32* const v = filter.run<Steps>(out.size());
  if (v != nullptr) Steps::addHigh(v, high.first(out.size()), out.data());
  return v != nullptr;
}

}  // namespace

void Portable::lowPassAndDecimate(std::span<const Word16> in, const FilterMemory& memory,
                                  std::span<Word16> low) {
  decimated<OneByOne>(in, memory, low);
}
void Portable::highPass(std::span<const Word16> in, const FilterMemory& memory,
                        std::span<Word16> high) {
  highPassed<OneByOne>(in, memory, high);
}
void Portable::interpolateAndAdd(std::span<const Word16> low, const FilterMemory& memory,
                                 std::span<const Word16> high, std::span<Word16> out) {
  interpolated<OneByOne>(low, memory, high, out);
}

#ifdef ARVESSA_VECTOR_UNIT
void Vector::lowPassAndDecimate(std::span<const Word16> in, const FilterMemory& memory,
                                std::span<Word16> low) {
  if (!decimated<InVectors>(in, memory, low)) Plain::lowPassAndDecimate(in, memory, low);
}
void Vector::highPass(std::span<const Word16> in, const FilterMemory& memory,
                      std::span<Word16> high) {
  if (!highPassed<InVectors>(in, memory, high)) Plain::highPass(in, memory, high);
}
void Vector::interpolateAndAdd(std::span<const Word16> low, const FilterMemory& memory,
                               std::span<const Word16> high, std::span<Word16> out) {
  if (!interpolated<InVectors>(low, memory, high, out)) {
    Plain::interpolateAndAdd(low, memory, high, out);
  }
}
#endif

}  // namespace arvessa::kernels
