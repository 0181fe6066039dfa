#pragma once
// The float transform of 128 real samples (float_fft.h) with real and imaginary parts apart, so
// that its loops run over neighbouring floats. Every operation is that of the plain form, on the
// same operands: the same bits.

namespace arvessa {

inline constexpr int kFloatPairs = 64;  // complex points of the transform, bins of the spectrum

// 64 complex numbers. As a packed half spectrum: bin 0 holds the DC value as its real part and the
// Nyquist value as its imaginary part.
struct ComplexBlock {
  float re[kFloatPairs];
  float im[kFloatPairs];
};

// Complex transforms in place, natural order in and out: forward halving in each of its six stages,
// inverse unscaled.
void forwardComplex64(ComplexBlock& block);
void inverseComplex64(ComplexBlock& block);

// The packed half spectrum of the samples from the spectrum of the pairs of an even and an odd
// sample, and back.
void unpackPairs64(const ComplexBlock& pairs, ComplexBlock& spectrum);
void packPairs64(const ComplexBlock& spectrum, ComplexBlock& pairs);

}  // namespace arvessa
