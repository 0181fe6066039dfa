// SPDX-License-Identifier: Apache-2.0
#pragma once
// The contract of the beamformer's hot loops, in single precision. The order of the operations,
// each rounded on its own, is part of the result; every form gives the same bits, signs of zero
// included. What is not a number may have other bits.
//
//   PlainFloat     defines them: radix 2, decimation in time (Cooley and Tukey 1965)
//   ScalarFloat    two stages of the transform a pass, real and imaginary parts apart
//   VectorFloat    the same for four neighbouring floats at a time
//
// Where a library routine computes every operation, a whole frame has a form of its own
// (beam_frame.h).
//
// Arguments do not overlap.

#include <cmath>
#include <span>
#include <tuple>

#include "ArvessaTypes.h"

namespace arvessa::kernels {

inline constexpr int kFloatBlock = 128;  // real samples
inline constexpr int kFloatBins = 64;    // bins of their spectrum, points of the complex transform
inline constexpr int kFlank = 24;        // samples over which the window rises, and falls
inline constexpr int kFloatFrame = 80;   // new samples of a block
inline constexpr int kWindow = kFloatFrame + kFlank;
inline constexpr int kFormedBeams = 3;
inline constexpr int kFirstEnergyBin = 16;  // 1000 Hz

// A packed half spectrum, parts apart: bin 0 holds the DC value as its real part and the Nyquist
// value as its imaginary part. Of samples: those of even index, and those of odd index.
struct alignas(16) HalfSpectrum {
  float re[kFloatBins];
  float im[kFloatBins];
};

// Complex weights W[s][k][m] of beam s, bin k and microphone m, at s * 128 + 2k + m.
struct BeamWeights {
  const float* re;
  const float* im;
};

struct PlainFloat {
  static constexpr const char* kName = "plain float";

  // The spectrum of 128 samples, scaled by 1/64. The first and last 24 of 104 factors of the window
  // count: between them, and beyond, it is 1. They are 2^-10 to 1. So the block is of multiples of
  // 2^-33, none of them -0, which decides where a form may do with fewer operations.
  static void analyse(std::span<const Word16, kFloatBlock> samples,
                      std::span<const float, kWindow> window, HalfSpectrum& spectrum);

  // One beam of two microphones in bins begin..end-1, multiples of 4. Bin 0, the DC and the Nyquist
  // value, is weighted as if it were one complex value.
  static void formBeam(const BeamWeights& weights, int beam, int begin, int end,
                       const HalfSpectrum (&x)[2], HalfSpectrum& y);

  // All three from bin 16 on; outerConjugate if the weights of beam 2 are the conjugates of those of
  // beam 0, and a form may use it. The energies of these bins, summed in their order since another one
  // rounds differently, are added to `energies`.
  static void formBeams(const BeamWeights& weights, bool outerConjugate, const HalfSpectrum (&x)[2],
                        HalfSpectrum (&y)[kFormedBeams], float (&energies)[kFormedBeams]);

  // The samples of a spectrum, scaled by 64.
  static void inverseTransform(const HalfSpectrum& spectrum, HalfSpectrum& samples);

  // The first 80 samples, the overlap added to 24 of them, truncated toward zero and limited to
  // -32767..32767. What is not a number, which only a damaged buffer can bring, gives 32767. The
  // overlap becomes the 24 samples after them.
  static void overlapAdd(const HalfSpectrum& samples, std::span<float, kFlank> overlap,
                         std::span<Word16, kFloatFrame> out);
};

struct ScalarFloat : PlainFloat {
  static constexpr const char* kName = "scalar float";
  static void analyse(std::span<const Word16, kFloatBlock> samples,
                      std::span<const float, kWindow> window, HalfSpectrum& spectrum);
  static void formBeam(const BeamWeights& weights, int beam, int begin, int end,
                       const HalfSpectrum (&x)[2], HalfSpectrum& y);
  static void formBeams(const BeamWeights& weights, bool outerConjugate, const HalfSpectrum (&x)[2],
                        HalfSpectrum (&y)[kFormedBeams], float (&energies)[kFormedBeams]);
  static void inverseTransform(const HalfSpectrum& spectrum, HalfSpectrum& samples);
  static void overlapAdd(const HalfSpectrum& samples, std::span<float, kFlank> overlap,
                         std::span<Word16, kFloatFrame> out);
};

struct VectorFloat : PlainFloat {
  static constexpr const char* kName = "vector float";
  static void analyse(std::span<const Word16, kFloatBlock> samples,
                      std::span<const float, kWindow> window, HalfSpectrum& spectrum);
  static void formBeam(const BeamWeights& weights, int beam, int begin, int end,
                       const HalfSpectrum (&x)[2], HalfSpectrum& y);
  static void formBeams(const BeamWeights& weights, bool outerConjugate, const HalfSpectrum (&x)[2],
                        HalfSpectrum (&y)[kFormedBeams], float (&energies)[kFormedBeams]);
  static void inverseTransform(const HalfSpectrum& spectrum, HalfSpectrum& samples);
  static void overlapAdd(const HalfSpectrum& samples, std::span<float, kFlank> overlap,
                         std::span<Word16, kFloatFrame> out);
};

using FloatForms = std::tuple<PlainFloat, ScalarFloat, VectorFloat>;

// What the library is built with. The vector unit of 32-bit ARM flushes denormals.
#if defined(ARVESSA_KERNELS_PLAIN) || defined(__SOFTFP__)
using ActiveFloatForm = PlainFloat;
#elif defined(__SSE2__) || defined(__aarch64__)
using ActiveFloatForm = VectorFloat;
#else
using ActiveFloatForm = ScalarFloat;
#endif

// Truncated toward zero and limited, as overlapAdd says.
inline Word16 toSample(float value) {
  if (std::fabs(value) <= 32767.0F) return static_cast<Word16>(value);
  return value < 0.0F ? -32767 : 32767;
}

// The 128 samples of a block, windowed.
void windowed(std::span<const Word16, kFloatBlock> samples, std::span<const float, kWindow> window,
              float (&block)[kFloatBlock]);

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
