#include "engine/band_split.h"

#include <algorithm>
#include <cstdint>

#include "engine/engine_state.h"
#include "fixedpoint/operators.h"

namespace arvessa {
namespace {

constexpr int kTaps = kFilterOrder + 1;
constexpr int kDecimation = 3;
constexpr int kMaxLow = 160;

// One filter with its memories laid out in time: the ten values before the block, oldest first,
// then the block itself.
//
// No sum of the recursion can saturate, whatever the memories hold: sum |B| 2^15 / 2^15 is below
// 2^31 for both filters, and sum |B| / 8 + sum |A| too. So the saturating sums are plain ones.
template <int kMemoryShift>
class Filter {
 public:
  Filter(const Word32* b, const Word32* a, Word16* x, Word32* y)
      : b_(b), a_(a), xMem_(x), yMem_(y) {
    std::reverse_copy(x, x + kFilterOrder, x_);
    std::reverse_copy(y, y + kFilterOrder, y_);
  }

  // Filters x, which follows the memory; n counts from the first sample of the block. The output
  // has 13 - kMemoryShift more fraction bits than the input.
  Word32 step(int n, Word16 x) {
    Word16* xNow = x_ + kFilterOrder + n;
    Word32* yNow = y_ + kFilterOrder + n;
    *xNow = x;
    Word32 forward = product16(b_[0], x);
    Word32 feedback = 0;
    for (int i = 1; i < kTaps; ++i) {
      forward += product16(b_[i], xNow[-i]);
      feedback -= product32(a_[i], yNow[-i]);
    }
    const Word32 v = (forward >> 3) + feedback;
    *yNow = lShl(v, kMemoryShift);
    return v;
  }

  // Puts the last ten values back, after n samples.
  void finish(int n) const {
    std::reverse_copy(x_ + n, x_ + n + kFilterOrder, xMem_);
    std::reverse_copy(y_ + n, y_ + n + kFilterOrder, yMem_);
  }

 private:
  // Coefficients are far from -1, the one factor that saturates.
  static Word32 product16(Word32 coefficient, Word16 x) {
    return static_cast<Word32>((std::int64_t{coefficient} * x) >> 15);
  }
  static Word32 product32(Word32 coefficient, Word32 y) {
    return static_cast<Word32>((std::int64_t{coefficient} * y) >> 31);
  }

  const Word32* b_;
  const Word32* a_;
  Word16* xMem_;
  Word32* yMem_;
  Word16 x_[kFilterOrder + kDecimation * kMaxLow];
  Word32 y_[kFilterOrder + kDecimation * kMaxLow];
};

using LowPass = Filter<5>;
using HighPass = Filter<8>;

}  // namespace
}  // namespace arvessa

extern "C" {

const Word32 AEC_CONST_LPF_B[11] = {1555398, -527,    3893368, 1915471, 4733362, 3425721,
                                    4733362, 1915471, 3893368, -527,    1555398};
const Word32 AEC_CONST_LPF_A[11] = {67108864,  -198873215, 355690468, -398456778,
                                    327610495, -189089847, 82965782,  -24358083,
                                    5499931,   -552504,    74750};
const Word32 AEC_CONST_HPF_B[11] = {1787206,   -14781815,  57595579,  -138815188,
                                    228773752, -269118378, 228773752, -138815188,
                                    57595579,  -14781815,  1787206};
const Word32 AEC_CONST_HPF_A[11] = {8388608,   -46670222,  127697504, -221896864,
                                    268508665, -234914404, 149844223, -68607696,
                                    21536335,  -4180170,   380767};

void AEC_Split_Ne(const Word16* in, Word16* low, Word16* high, Word16 len, Word16* splitLpfX,
                  Word32* splitLpfY, Word16* splitHpfX, Word32* splitHpfY) {
  using namespace arvessa;
  for (int first = 0; first < len; first += kMaxLow) {
    const int samples = kDecimation * std::min(kMaxLow, len - first);
    const Word16* block = in + kDecimation * first;
    {
      LowPass filter(AEC_CONST_LPF_B, AEC_CONST_LPF_A, splitLpfX, splitLpfY);
      for (int n = 0; n < samples; ++n) {
        const Word32 v = filter.step(n, block[n]);
        if (n % kDecimation == 0) low[first + n / kDecimation] = roundHigh(lShl(v, 8));
      }
      filter.finish(samples);
    }
    HighPass filter(AEC_CONST_HPF_B, AEC_CONST_HPF_A, splitHpfX, splitHpfY);
    for (int n = 0; n < samples; ++n) {
      high[kDecimation * first + n] = roundHigh(lShl(filter.step(n, block[n]), 11));
    }
    filter.finish(samples);
  }
}

void AEC_Syn_Ne(const Word16* low, const Word16* high, Word16* out, Word16 len, Word16* synLpfX,
                Word32* synLpfY) {
  using namespace arvessa;
  for (int first = 0; first < len; first += kMaxLow) {
    const int block = std::min(kMaxLow, len - first);
    Word16 lowBand[kMaxLow];
    std::copy(low + first, low + first + block, lowBand);
    LowPass filter(AEC_CONST_LPF_B, AEC_CONST_LPF_A, synLpfX, synLpfY);
    for (int n = 0; n < kDecimation * block; ++n) {
      const bool carriesSample = n % kDecimation == kDecimation - 1;
      const Word32 v = filter.step(n, carriesSample ? lowBand[n / kDecimation] : Word16{0});
      const Word32 tripled = lAdd(v, lAdd(v, v));
      const int at = kDecimation * first + n;
      out[at] = add(high[at], roundHigh(lShl(tripled, 8)));
    }
    filter.finish(kDecimation * block);
  }
}

}  // extern "C"
