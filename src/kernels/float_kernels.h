// SPDX-License-Identifier: Apache-2.0
#pragma once
// The contract of the beamformer's hot loops, in single precision. The order of the operations,
// each rounded on its own, is part of the result; every form gives the same bits, signs of zero
// included. What is not a number may have other bits.
//
//   PlainFloat     defines them: radix 2, decimation in time (Cooley and Tukey 1965)
//   SplitFloat     with real and imaginary parts apart, so that loops run over neighbouring floats
//   SoftwareFloat  the same where a library routine computes every operation: integer operations
//                  stand in for products by 1, 0 and 1/2
//
// Arguments do not overlap.

#include <span>
#include <tuple>

namespace arvessa::kernels {

inline constexpr int kFloatBlock = 128;  // real samples
inline constexpr int kFloatBins = 64;    // bins of their spectrum, points of the complex transform

// A packed half spectrum, parts apart: bin 0 holds the DC value as its real part and the Nyquist
// value as its imaginary part.
struct HalfSpectrum {
  float re[kFloatBins];
  float im[kFloatBins];
};

struct PlainFloat {
  static constexpr const char* kName = "plain float";

  // The spectrum of 128 real samples, scaled by 1/64.
  static void forwardTransform(std::span<const float, kFloatBlock> block, HalfSpectrum& spectrum);

  // The samples of a spectrum, scaled by 64.
  static void inverseTransform(const HalfSpectrum& spectrum, std::span<float, kFloatBlock> block);
};

struct SplitFloat : PlainFloat {
  static constexpr const char* kName = "split float";
  static void forwardTransform(std::span<const float, kFloatBlock> block, HalfSpectrum& spectrum);
  static void inverseTransform(const HalfSpectrum& spectrum, std::span<float, kFloatBlock> block);
};

struct SoftwareFloat : PlainFloat {
  static constexpr const char* kName = "software float";
  static void forwardTransform(std::span<const float, kFloatBlock> block, HalfSpectrum& spectrum);
  static void inverseTransform(const HalfSpectrum& spectrum, std::span<float, kFloatBlock> block);
};

using FloatForms = std::tuple<PlainFloat, SplitFloat, SoftwareFloat>;

// What the library is built with.
#if defined(ARVESSA_KERNELS_PLAIN) && !defined(ARVESSA_KERNELS_SOFTWARE_FLOAT)
using ActiveFloatForm = PlainFloat;
#elif defined(__SOFTFP__) || defined(ARVESSA_KERNELS_SOFTWARE_FLOAT)
using ActiveFloatForm = SoftwareFloat;
#else
using ActiveFloatForm = SplitFloat;
#endif

// The plain transform of any size, as it is exported. n: floats of a block, 4..128; half: n/2;
// stages: log2(n/2), at most 6; twiddle: n/2 pairs exp(-2 pi j m / n); phaseIndex: steps between
// the twiddles of neighbouring columns by stage.
struct FloatTransform {
  int n;
  int half;
  int stages;
  const float* twiddle;
  const unsigned short* phaseIndex;
};

// In place, n/2 interleaved points: forward, each stage halving, and inverse, unscaled.
void forwardComplex(float* data, const FloatTransform& transform);
void inverseComplex(float* data, const FloatTransform& transform);

// The packed half spectrum of n samples from the spectrum of their pairs, and back. Interleaved:
// the values of bins 0 and n/2, then real and imaginary part of bins 1..n/2-1.
void unpackPairs(const float* pairs, const FloatTransform& transform, float* spectrum);
void packPairs(const float* spectrum, const FloatTransform& transform, float* pairs);

}  // namespace arvessa::kernels

namespace arvessa {
using FloatKernels = kernels::ActiveFloatForm;
}
