#pragma once
// The kernels of the fixed-point transform in four lanes, two complex numbers at a time, for blocks
// with headroom: where no operation of fixed_fft.cpp's plain kernels saturates, these give the same
// bits.

#include "engine/fixed_fft.h"
#include "fixedpoint/lanes.h"

namespace arvessa {

// A transform of N complex points and its tables.
struct Size {
  int points;  // N
  int stages;  // log2 N - 1, those after the first
  const Word16* coef;
  const Word16* rearranged;
};

// Two complex numbers in four lanes, first and second swapped within each.
static inline Lanes swapParts(Lanes x) { return __builtin_shufflevector(x, x, 1, 0, 3, 2); }

// Negates the real or the imaginary parts.
static inline Lanes negateReals(Lanes x) {
  const Lanes mask = {-1, 0, -1, 0};
  return (x ^ mask) - mask;
}
static inline Lanes negateImags(Lanes x) {
  const Lanes mask = {0, -1, 0, -1};
  return (x ^ mask) - mask;
}

// As multiply<WithHeadroom, kInverse>, for two numbers.
template <bool kInverse>
static inline Lanes multiplyLanes(Lanes b, const Twiddles& w) {
  const Lanes direct = mulQ15(b, w.cosine);
  const Lanes crossed = mulQ15(swapParts(b), w.sine);
  return direct + (kInverse ? negateImags(crossed) : negateReals(crossed));
}

template <bool kInverse>
static void butterflyLanes(Lanes a, Lanes t, Word32* sum, Word32* difference) {
  constexpr int kHalve = kInverse ? 0 : 1;
  storeLanes(sum, (a + t) >> kHalve);
  storeLanes(difference, (a - t) >> kHalve);
}

// Bit reversal of k + 1 is that of k, which is even, plus half the range.
template <bool kInverse>
static void firstStageLanes(const Word32* src, Word32* dst, const Size& size) {
  const int half = size.points / 2;
  const Factors one = splatFactor(size.coef[0]);
  for (int k = 0; k < half; k += 2) {
    const Word32* even = src + 2 * (u8BitRTab[k] >> (8 - size.stages));
    const Word32* odd = even + half;
    const Lanes a = joinPairs(even, odd);
    const Lanes b = joinPairs(even + size.points, odd + size.points);
    butterflyLanes<kInverse>(a, mulQ15(b, one), dst + 2 * k, dst + size.points + 2 * k);
  }
}

// The product of two numbers with a twiddle; with one of the angle 0 or pi / 2, half of which is 0,
// it takes half the work.
template <bool kInverse>
struct ByAny {
  Twiddles w;
  Lanes operator()(Lanes b) const { return multiplyLanes<kInverse>(b, w); }
};
struct ByReal {
  Factors cosine;
  Lanes operator()(Lanes b) const { return mulQ15(b, cosine); }
};
template <bool kInverse>
struct ByImaginary {
  Factors sine;
  Lanes operator()(Lanes b) const {
    const Lanes crossed = mulQ15(swapParts(b), sine);
    return kInverse ? negateImags(crossed) : negateReals(crossed);
  }
};

// The butterflies of one stage, two at a time, in order.
template <bool kInverse>
class Butterflies {
 public:
  Butterflies(const Word32* in, Word32* out, int points)
      : in_(in), sum_(out), difference_(out + points) {}

  template <class Product>
  void run(int pairs, Product product) {
    for (int i = 0; i < pairs; ++i) {
      const Lanes first = loadLanes(in_);
      const Lanes second = loadLanes(in_ + 4);
      const Lanes a = __builtin_shufflevector(first, second, 0, 1, 4, 5);
      const Lanes b = __builtin_shufflevector(first, second, 2, 3, 6, 7);
      butterflyLanes<kInverse>(a, product(b), sum_, difference_);
      in_ += 8;
      sum_ += 4;
      difference_ += 4;
    }
  }

 private:
  const Word32* in_;
  Word32* sum_;
  Word32* difference_;
};

template <bool kInverse>
static void stageLanes(const Word32* in, Word32* out, const Size& size, int s,
                       const Word16* twiddle) {
  Butterflies<kInverse> butterflies(in, out, size.points);
  const int pairs = size.points >> (s + 2);  // of butterflies with the same twiddle
  if (pairs == 0) {
    for (int i = 0; i < size.points / 4; ++i, twiddle += 4) {
      butterflies.run(1, ByAny<kInverse>{loadTwiddles(twiddle)});
    }
    return;
  }
  const int quarter = 1 << (s - 1);  // the group of the angle pi / 2
  const auto groups = [&](int count) {
    for (int i = 0; i < count; ++i, twiddle += 4) {
      butterflies.run(pairs, ByAny<kInverse>{splatTwiddle(twiddle)});
    }
  };
  butterflies.run(pairs, ByReal{splatFactor(twiddle[0])});
  twiddle += 4;
  groups(quarter - 1);
  butterflies.run(pairs, ByImaginary<kInverse>{splatFactor(twiddle[1])});
  twiddle += 4;
  groups(quarter - 1);
}

// As forwardSplit and inverseSplit, bins k and k + 1 with their mirror images at a time. Returns
// the first bin that is left over.
template <bool kInverse>
static int splitLanes(const Word32* z, Word32* out, const Size& size) {
  int k = 1;
  for (; k + 1 < size.points / 2; k += 2) {
    const int m = size.points - k;
    const Lanes zk = loadLanes(z + 2 * k);
    const Lanes pair = loadLanes(z + 2 * (m - 1));
    const Lanes zm = __builtin_shufflevector(pair, pair, 2, 3, 0, 1);
    const Lanes ad = zk + zm;         // a, d
    const Lanes negatedBc = zk - zm;  // -b, c
    const Lanes ac = __builtin_shufflevector(ad, negatedBc, 0, 5, 2, 7);
    const Lanes minusBd = __builtin_shufflevector(negatedBc, ad, 0, 5, 2, 7);
    // (b, d), of opposite sign in the inverse.
    const Lanes bd = kInverse ? negateImags(minusBd) : negateReals(minusBd);
    const Lanes db = swapParts(bd);
    const Twiddles wk = loadTwiddles(size.coef + 2 * k);
    const Twiddles wm = loadTwiddlesReversed(size.coef + 2 * (m - 1));
    const Lanes cosK = mulQ15(db, wk.cosine);
    const Lanes sinK = mulQ15(bd, wk.sine);
    const Lanes cosM = mulQ15(db, wm.cosine);
    const Lanes sinM = mulQ15(bd, wm.sine);
    const Lanes turnedK = cosK + (kInverse ? negateImags(sinK) : negateReals(sinK));
    const Lanes turnedM = kInverse ? negateImags(cosM) - sinM : negateImags(cosM) + sinM;
    storeLanes(out + 2 * k, (ac + turnedK) >> 1);
    const Lanes mirrored = (negateImags(ac) + turnedM) >> 1;
    storeLanes(out + 2 * (m - 1), __builtin_shufflevector(mirrored, mirrored, 2, 3, 0, 1));
  }
  return k;
}

}  // namespace arvessa
