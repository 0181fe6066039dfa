// SPDX-License-Identifier: Apache-2.0
#pragma once
// The beams in all bins of V, a float or a vector of four.

#include "kernels/radix4_float.h"

namespace arvessa::kernels {

// The numbers of even and of odd index.
template <class V>
inline void loadPairs(const float* from, V& even, V& odd) {
  if constexpr (kWidth<V> == 1) {
    even = from[0];
    odd = from[1];
  } else {
    const V first = load<V>(from);
    const V second = load<V>(from + kWidth<V>);
    even = __builtin_shufflevector(first, second, 0, 2, 4, 6);
    odd = __builtin_shufflevector(first, second, 1, 3, 5, 7);
  }
}

// The products of a microphone's spectrum and a weight.
template <class V>
struct WeightProducts {
  V rr, ii, ri, ir;  // parts of the spectrum and of the weight

  WeightProducts(const Complex<V>& x, const V& wRe, const V& wIm)
      : rr(x.re * wRe), ii(x.im * wIm), ri(x.re * wIm), ir(x.im * wRe) {}
};

// Both microphones under a weight each.
template <class V>
struct BeamProducts {
  WeightProducts<V> first, second;

  Complex<V> sum() const {
    return {(first.rr - first.ii) + (second.rr - second.ii),
            (first.ri + first.ir) + (second.ri + second.ir)};
  }
  // Under the conjugate weights, whose products differ in their signs only.
  Complex<V> conjugateSum() const {
    return {(first.rr + first.ii) + (second.rr + second.ii),
            (first.ir - first.ri) + (second.ir - second.ri)};
  }
};

template <class V>
inline BeamProducts<V> products(BeamWeights weights, int beam, int k, const Complex<V> (&x)[2]) {
  const int at = beam * kFloatBlock + 2 * k;
  V re[2];
  V im[2];
  loadPairs(weights.re + at, re[0], re[1]);
  loadPairs(weights.im + at, im[0], im[1]);
  return {{x[0], re[0], im[0]}, {x[1], re[1], im[1]}};
}

template <class V>
inline void beamOf(BeamWeights weights, int beam, int begin, int end, const HalfSpectrum (&x)[2],
                   HalfSpectrum& y) {
  for (int k = begin; k < end; k += kWidth<V>) {
    store(y, k,
          products<V>(weights, beam, k, {loadAligned<V>(x[0], k), loadAligned<V>(x[1], k)}).sum());
  }
}

// Energies of three beams, a number each or side by side in a vector.
template <class V>
struct Energies {
  float sums[kFormedBeams] = {};

  void add(const Complex<V> (&y)[kFormedBeams]) {
    for (int beam = 0; beam < kFormedBeams; ++beam) {
      sums[beam] = (y[beam].re * y[beam].re + sums[beam]) + y[beam].im * y[beam].im;
    }
  }
  void addTo(float (&energies)[kFormedBeams]) const {
    for (int beam = 0; beam < kFormedBeams; ++beam) energies[beam] += sums[beam];
  }
};

template <class V>
requires(kWidth<V> > 1) struct Energies<V> {
  V sums = {};

  // Rows are the beams, columns the bins. The last number of a column has no meaning.
  static void columnsOf(const V& r0, const V& r1, const V& r2, V (&columns)[4]) {
    const V low = __builtin_shufflevector(r0, r1, 0, 4, 1, 5);
    const V high = __builtin_shufflevector(r0, r1, 2, 6, 3, 7);
    columns[0] = __builtin_shufflevector(low, r2, 0, 1, 4, 5);
    columns[1] = __builtin_shufflevector(low, r2, 2, 3, 5, 5);
    columns[2] = __builtin_shufflevector(high, r2, 0, 1, 6, 7);
    columns[3] = __builtin_shufflevector(high, r2, 2, 3, 7, 7);
  }
  void add(const Complex<V> (&y)[kFormedBeams]) {
    V re[4];
    V im[4];
    columnsOf(y[0].re * y[0].re, y[1].re * y[1].re, y[2].re * y[2].re, re);
    columnsOf(y[0].im * y[0].im, y[1].im * y[1].im, y[2].im * y[2].im, im);
    for (int k = 0; k < 4; ++k) sums = (re[k] + sums) + im[k];
  }
  void addTo(float (&energies)[kFormedBeams]) const {
    for (int beam = 0; beam < kFormedBeams; ++beam) energies[beam] += sums[beam];
  }
};

template <class V>
inline void beamsOf(BeamWeights weights, bool outerConjugate, const HalfSpectrum (&x)[2],
                    HalfSpectrum (&y)[kFormedBeams], float (&energies)[kFormedBeams]) {
  Energies<V> sums;
  for (int k = kFirstEnergyBin; k < kFloatBins; k += kWidth<V>) {
    const Complex<V> at[2] = {loadAligned<V>(x[0], k), loadAligned<V>(x[1], k)};
    const BeamProducts<V> outer = products<V>(weights, 0, k, at);
    const Complex<V> beams[kFormedBeams] = {
        outer.sum(), products<V>(weights, 1, k, at).sum(),
        outerConjugate ? outer.conjugateSum() : products<V>(weights, 2, k, at).sum()};
    sums.add(beams);
    for (int beam = 0; beam < kFormedBeams; ++beam) store(y[beam], k, beams[beam]);
  }
  sums.addTo(energies);
}

}  // namespace arvessa::kernels
