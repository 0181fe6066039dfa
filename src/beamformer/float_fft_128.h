#pragma once
// The float transform of 128 real samples (float_fft.h) with real and imaginary parts apart, so
// that its loops run over neighbouring floats. The results are those of the plain form, signs of zero
// included; what is not a number may have other bits.

namespace arvessa {

inline constexpr int kFloatPairs = 64;  // complex points of the transform, bins of the spectrum

// 64 complex numbers. As a packed half spectrum: bin 0 holds the DC value as its real part and the
// Nyquist value as its imaginary part.
struct ComplexBlock {
  float re[kFloatPairs];
  float im[kFloatPairs];
};

// From and to interleaved pairs.
inline void separate(const float* interleaved, ComplexBlock& block) {
  for (int i = 0; i < kFloatPairs; ++i) {
    block.re[i] = interleaved[2 * i];
    block.im[i] = interleaved[2 * i + 1];
  }
}
inline void interleave(const ComplexBlock& block, float* interleaved) {
  for (int i = 0; i < kFloatPairs; ++i) {
    interleaved[2 * i] = block.re[i];
    interleaved[2 * i + 1] = block.im[i];
  }
}

// Complex transforms in place, natural order in and out: forward halving in each of its six stages,
// inverse unscaled.
void forwardComplex64(ComplexBlock& block);
void inverseComplex64(ComplexBlock& block);

// The packed half spectrum of the samples from the spectrum of the pairs of an even and an odd
// sample, and back.
void unpackPairs64(const ComplexBlock& pairs, ComplexBlock& spectrum);
void packPairs64(const ComplexBlock& spectrum, ComplexBlock& pairs);

}  // namespace arvessa
