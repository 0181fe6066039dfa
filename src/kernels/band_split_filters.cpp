// SPDX-License-Identifier: Apache-2.0
#include "kernels/band_split_filters.h"

#include <algorithm>

#include "arithmetic/operators.h"
#include "kernels/kernels.h"

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

// Whether no sum of a filter can saturate, whatever its memories hold. A product with a 16-bit
// input lies within |B|, one with a 32-bit output within |A|.
constexpr bool cannotSaturate(const Coefficients& b, const Coefficients& a) {
  std::int64_t forward = 0;
  std::int64_t feedback = 0;
  for (int i = 0; i <= kFilterOrder; ++i) {
    forward += b[i] < 0 ? -std::int64_t{b[i]} : b[i];
    if (i > 0) feedback += a[i] < 0 ? -std::int64_t{a[i]} : a[i];
  }
  return forward < kMax32 && forward / 8 + 1 + feedback < kMax32;
}
// So the sums below are plain ones.
static_assert(cannotSaturate(AEC_CONST_LPF_B, AEC_CONST_LPF_A));
static_assert(cannotSaturate(AEC_CONST_HPF_B, AEC_CONST_HPF_A));

// A filter with its memories laid out in time: the ten values before the block, oldest first, then
// the block itself.
template <Word16 kMemoryShift>
class Filter {
 public:
  Filter(const Coefficients& b, const Coefficients& a, const FilterMemory& memory)
      : b_(b), a_(a), memory_(memory) {
    std::reverse_copy(memory.x.begin(), memory.x.end(), x_);
    std::reverse_copy(memory.y.begin(), memory.y.end(), y_);
  }

  // v for the input x, the n-th of the block.
  Word32 step(int n, Word16 x) {
    Word16* xNow = x_ + kFilterOrder + n;
    Word32* yNow = y_ + kFilterOrder + n;
    *xNow = x;
    Word32 forward = product16(b_[0], x);
    Word32 feedback = 0;
    for (int i = 1; i <= kFilterOrder; ++i) {
      forward += product16(b_[i], xNow[-i]);
      feedback -= product32(a_[i], yNow[-i]);
    }
    const Word32 v = (forward >> 3) + feedback;
    *yNow = lShl(v, kMemoryShift);
    return v;
  }

  // Puts the last ten values back, after n samples.
  void finish(int n) const {
    std::reverse_copy(x_ + n, x_ + n + kFilterOrder, memory_.x.begin());
    std::reverse_copy(y_ + n, y_ + n + kFilterOrder, memory_.y.begin());
  }

 private:
  // Coefficients are far from -1, the one factor that saturates.
  static Word32 product16(Word32 coefficient, Word16 x) {
    return static_cast<Word32>((std::int64_t{coefficient} * x) >> 15);
  }
  static Word32 product32(Word32 coefficient, Word32 y) {
    return static_cast<Word32>((std::int64_t{coefficient} * y) >> 31);
  }

  const Coefficients& b_;
  const Coefficients& a_;
  FilterMemory memory_;
  Word16 x_[kFilterOrder + kDecimation * kMaxLowFrame];
  Word32 y_[kFilterOrder + kDecimation * kMaxLowFrame];
};

using LowPass = Filter<kLowPassShift>;
using HighPass = Filter<kHighPassShift>;

}  // namespace

void Portable::lowPassAndDecimate(std::span<const Word16> in, const FilterMemory& memory,
                                  std::span<Word16> low) {
  LowPass filter(AEC_CONST_LPF_B, AEC_CONST_LPF_A, memory);
  const int samples = static_cast<int>(in.size());
  for (int n = 0; n < samples; ++n) {
    const Word32 v = filter.step(n, in[static_cast<std::size_t>(n)]);
    if (n % kDecimation == 0) {
      low[static_cast<std::size_t>(n / kDecimation)] = roundHigh(lShl(v, kLowPassRounding));
    }
  }
  filter.finish(samples);
}

void Portable::highPass(std::span<const Word16> in, const FilterMemory& memory,
                        std::span<Word16> high) {
  HighPass filter(AEC_CONST_HPF_B, AEC_CONST_HPF_A, memory);
  const int samples = static_cast<int>(in.size());
  for (int n = 0; n < samples; ++n) {
    const Word32 v = filter.step(n, in[static_cast<std::size_t>(n)]);
    high[static_cast<std::size_t>(n)] = roundHigh(lShl(v, kHighPassRounding));
  }
  filter.finish(samples);
}

void Portable::interpolateAndAdd(std::span<const Word16> low, const FilterMemory& memory,
                                 std::span<const Word16> high, std::span<Word16> out) {
  Word16 copy[kMaxLowFrame];
  std::copy(low.begin(), low.end(), copy);
  LowPass filter(AEC_CONST_LPF_B, AEC_CONST_LPF_A, memory);
  const int samples = static_cast<int>(out.size());
  for (int n = 0; n < samples; ++n) {
    const bool carriesSample = n % kDecimation == kDecimation - 1;
    const Word32 v = filter.step(n, carriesSample ? copy[n / kDecimation] : Word16{0});
    const auto at = static_cast<std::size_t>(n);
    out[at] = add(high[at], roundHigh(lShl(lAdd(v, lAdd(v, v)), kLowPassRounding)));
  }
  filter.finish(samples);
}

}  // namespace arvessa::kernels
