// SPDX-License-Identifier: Apache-2.0
// The float kernels with four numbers at a time, in the compiler's vector types.

#include <bit>
#include <cstdint>

#include "kernels/formed_beams.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace arvessa::kernels {
namespace {

using Floats = float __attribute__((vector_size(16)));
using Integers = std::int32_t __attribute__((vector_size(16)));
using Bits = std::uint32_t __attribute__((vector_size(16)));

constexpr int kPairs = 4;  // of samples in a vector of words
constexpr bool kBigEndian = std::endian::native == std::endian::big;

Complex<Floats> windowPairs(const float* window) {
  Complex<Floats> pairs;
  loadPairs(window, pairs.re, pairs.im);
  return pairs;
}

// x if it is less, or greater, else y. So y stands for a NaN in x; _mm_min_ps and _mm_max_ps agree.
#ifdef __SSE2__
Floats lesser(Floats x, Floats y) { return _mm_min_ps(x, y); }
Floats greater(Floats x, Floats y) { return _mm_max_ps(x, y); }
#else
Floats lesser(Floats x, Floats y) { return x < y ? x : y; }
Floats greater(Floats x, Floats y) { return x > y ? x : y; }
#endif

Integers toSamples(const Floats& x) {
  const Floats most = Floats{} + 32767.0F;
  return __builtin_convertvector(greater(lesser(x, most), -most), Integers);
}

}  // namespace

void VectorFloat::analyse(std::span<const Word16, kFloatBlock> samples,
                          std::span<const float, kWindow> window, HalfSpectrum& spectrum) {
  constexpr float kScale = kFirstHalvings / 65536;  // of samples in upper halves of words
  HalfSpectrum block;
#pragma GCC unroll 1
  for (int i = 0; i < kFloatBins; i += kPairs) {
    Bits words;
    std::memcpy(&words, samples.data() + 2 * i, sizeof words);
    const auto low = reinterpret_cast<Integers>(words << 16);
    const auto high = reinterpret_cast<Integers>(words & 0xFFFF0000);
    store(block.re + i, __builtin_convertvector(kBigEndian ? high : low, Floats) * kScale);
    store(block.im + i, __builtin_convertvector(kBigEndian ? low : high, Floats) * kScale);
  }
#pragma GCC unroll 1
  for (int i = 0; i < kFlank / 2; i += kPairs) {
    for (const int flank : {0, kFloatFrame / 2}) {
      const Complex<Floats> factors = windowPairs(window.data() + 2 * (flank + i));
      const Complex<Floats> x = loadAligned<Floats>(block, flank + i);
      store(block, flank + i, Complex<Floats>{x.re * factors.re, x.im * factors.im});
    }
  }
  spectrumOf<Floats>(block, spectrum);
}

void VectorFloat::formBeam(const BeamWeights& weights, int beam, int begin, int end,
                           const HalfSpectrum (&x)[2], HalfSpectrum& y) {
  beamOf<Floats>(weights, beam, begin, end, x, y);
}

void VectorFloat::formBeams(const BeamWeights& weights, bool outerConjugate,
                            const HalfSpectrum (&x)[2], HalfSpectrum (&y)[kFormedBeams],
                            float (&energies)[kFormedBeams]) {
  beamsOf<Floats>(weights, outerConjugate, x, y, energies);
}

void VectorFloat::inverseTransform(const HalfSpectrum& spectrum, HalfSpectrum& samples) {
  inverseOf<Floats>(spectrum, samples);
}

void VectorFloat::overlapAdd(const HalfSpectrum& samples, std::span<float, kFlank> overlap,
                             std::span<Word16, kFloatFrame> out) {
#pragma GCC unroll 1
  for (int i = 0; i < kFloatFrame / 2; i += kPairs) {
    Complex<Floats> x = loadAligned<Floats>(samples, i);
    if (i < kFlank / 2) {
      const Complex<Floats> before = windowPairs(overlap.data() + 2 * i);
      x = {before.re + x.re, before.im + x.im};
    }
    const auto even = reinterpret_cast<Bits>(toSamples(x.re));
    const auto odd = reinterpret_cast<Bits>(toSamples(x.im));
    const Bits words = kBigEndian ? (even << 16) | (odd & 0xFFFF) : (even & 0xFFFF) | (odd << 16);
    std::memcpy(out.data() + 2 * i, &words, sizeof words);
  }
#pragma GCC unroll 1
  for (int i = 0; i < kFlank / 2; i += kPairs) {
    const Complex<Floats> x = loadAligned<Floats>(samples, kFloatFrame / 2 + i);
    store(overlap.data() + 2 * i, __builtin_shufflevector(x.re, x.im, 0, 4, 1, 5));
    store(overlap.data() + 2 * i + kPairs, __builtin_shufflevector(x.re, x.im, 2, 6, 3, 7));
  }
}

}  // namespace arvessa::kernels
