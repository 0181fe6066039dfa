// SPDX-License-Identifier: Apache-2.0
// The fixed-point transform with two complex numbers at a time, for blocks with headroom.

#include "kernels/kernels.h"

#ifdef ARVESSA_VECTOR_UNIT

#include "kernels/fixed_transform.h"
#include "kernels/vector_unit.h"

namespace arvessa::kernels {
namespace {

// Two complex numbers in four words, first and second swapped within each.
inline Words swapParts(Words x) { return __builtin_shufflevector(x, x, 1, 0, 3, 2); }

// Negates the real or the imaginary parts.
inline Words negateReals(Words x) {
  const Words mask = {-1, 0, -1, 0};
  return (x ^ mask) - mask;
}
inline Words negateImags(Words x) {
  const Words mask = {0, -1, 0, -1};
  return (x ^ mask) - mask;
}

// b w, or with kInverse b w*, of two numbers.
template <bool kInverse>
inline Words rotated(Words b, const Twiddles& w) {
  const Words direct = mulQ15(b, w.cosine);
  const Words crossed = mulQ15(swapParts(b), w.sine);
  return direct + (kInverse ? negateImags(crossed) : negateReals(crossed));
}

template <bool kInverse>
void butterfly(Words a, Words t, Word32* sum, Word32* difference) {
  constexpr int kHalve = kInverse ? 0 : 1;
  store(sum, (a + t) >> kHalve);
  store(difference, (a - t) >> kHalve);
}

// The product of two numbers with a twiddle; with one of the angle 0 or pi / 2, half of which is 0,
// it takes half the work.
template <bool kInverse>
struct ByAny {
  Twiddles w;
  Words operator()(Words b) const { return rotated<kInverse>(b, w); }
};
struct ByReal {
  Factors cosine;
  Words operator()(Words b) const { return mulQ15(b, cosine); }
};
template <bool kInverse>
struct ByImaginary {
  Factors sine;
  Words operator()(Words b) const {
    const Words crossed = mulQ15(swapParts(b), sine);
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
      const Words first = load(in_);
      const Words second = load(in_ + 4);
      const Words a = __builtin_shufflevector(first, second, 0, 1, 4, 5);
      const Words b = __builtin_shufflevector(first, second, 2, 3, 6, 7);
      butterfly<kInverse>(a, product(b), sum_, difference_);
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

struct TwoAtATime {
  using A = Unsaturated;

  // Bit reversal of k + 1 is that of k, which is even, plus half the range.
  template <bool kInverse>
  static void firstStage(const Word32* from, Word32* to, const TransformTables& tables) {
    const int points = tables.points;
    const int half = points / 2;
    const unsigned char* const reversedBits = tables.reversedBits;
    const int unused = 8 - tables.stages;  // bits of a byte
    const Factors one = splatFactor(tables.twiddles[0]);
    for (int k = 0; k < half; k += 2) {
      const Word32* even = from + 2 * (reversedBits[k] >> unused);
      const Word32* odd = even + half;
      const Words a = joinPairs(even, odd);
      const Words b = joinPairs(even + points, odd + points);
      butterfly<kInverse>(a, mulQ15(b, one), to + 2 * k, to + points + 2 * k);
    }
  }

  template <bool kInverse>
  static void stage(const Word32* in, Word32* out, int points, int s, const Word16* twiddle) {
    Butterflies<kInverse> butterflies(in, out, points);
    const int pairs = points >> (s + 2);  // of butterflies with the same twiddle
    if (pairs == 0) {
      for (int i = 0; i < points / 4; ++i, twiddle += 4) {
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

  static void forwardSplit(const Word32* z, Word32* out, const TransformTables& tables) {
    Scalar<Unsaturated>::forwardSplit(z, out, tables, splitPairs<false>(z, out, tables));
  }
  static void inverseSplit(const Word32* x, Word32* out, const TransformTables& tables) {
    Scalar<Unsaturated>::inverseSplit(x, out, tables, splitPairs<true>(x, out, tables));
  }

 private:
  // Bins k and k + 1 with their mirror images at a time. Returns the first bin that is left over.
  template <bool kInverse>
  static int splitPairs(const Word32* z, Word32* out, const TransformTables& tables) {
    const int points = tables.points;
    const Word16* const twiddles = tables.twiddles;
    int k = 1;
    for (; k + 1 < points / 2; k += 2) {
      const int m = points - k;
      const Words zk = load(z + 2 * k);
      const Words pair = load(z + 2 * (m - 1));
      const Words zm = __builtin_shufflevector(pair, pair, 2, 3, 0, 1);
      const Words ad = zk + zm;         // a, d
      const Words negatedBc = zk - zm;  // -b, c
      const Words ac = __builtin_shufflevector(ad, negatedBc, 0, 5, 2, 7);
      const Words minusBd = __builtin_shufflevector(negatedBc, ad, 0, 5, 2, 7);
      // (b, d), of opposite sign in the inverse.
      const Words bd = kInverse ? negateImags(minusBd) : negateReals(minusBd);
      const Words db = swapParts(bd);
      const Twiddles wk = loadTwiddles(twiddles + 2 * k);
      const Twiddles wm = loadTwiddlesReversed(twiddles + 2 * (m - 1));
      const Words cosK = mulQ15(db, wk.cosine);
      const Words sinK = mulQ15(bd, wk.sine);
      const Words cosM = mulQ15(db, wm.cosine);
      const Words sinM = mulQ15(bd, wm.sine);
      const Words turnedK = cosK + (kInverse ? negateImags(sinK) : negateReals(sinK));
      const Words turnedM = kInverse ? negateImags(cosM) - sinM : negateImags(cosM) + sinM;
      store(out + 2 * k, (ac + turnedK) >> 1);
      const Words mirrored = (negateImags(ac) + turnedM) >> 1;
      store(out + 2 * (m - 1), __builtin_shufflevector(mirrored, mirrored, 2, 3, 0, 1));
    }
    return k;
  }
};

}  // namespace

UsedBits Vector::forwardTransform(Block x, const TransformTables& tables, std::span<Word32> out) {
  if (!hasForwardHeadroom(x.bits)) return Plain::forwardTransform(x, tables, out);
  realTransform<TwoAtATime>(x.words.data(), out.data(), tables);
  return boundOfSpectrum(x.bits);
}

void Vector::inverseTransform(ConstBlock spectrum, const TransformTables& tables,
                              std::span<Word32> out) {
  if (!hasInverseHeadroom(spectrum.words)) return Plain::inverseTransform(spectrum, tables, out);
  inverseRealTransform<TwoAtATime>(spectrum.words.data(), out.data(), tables);
}

}  // namespace arvessa::kernels

#endif  // ARVESSA_VECTOR_UNIT
