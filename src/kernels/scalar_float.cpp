// SPDX-License-Identifier: Apache-2.0
// The float kernels one number at a time.
#include "kernels/formed_beams.h"

namespace arvessa::kernels {

void ScalarFloat::analyse(std::span<const Word16, kFloatBlock> samples,
                          std::span<const float, kWindow> window, HalfSpectrum& spectrum) {
  HalfSpectrum block;
  for (std::size_t i = 0; i < kFloatBins; ++i) {
    block.re[i] = static_cast<float>(samples[2 * i]) * kFirstHalvings;
    block.im[i] = static_cast<float>(samples[2 * i + 1]) * kFirstHalvings;
  }
  for (std::size_t i = 0; i < kFlank / 2; ++i) {
    constexpr std::size_t kFalling = kFloatFrame / 2;
    block.re[i] *= window[2 * i];
    block.im[i] *= window[2 * i + 1];
    block.re[kFalling + i] *= window[kFloatFrame + 2 * i];
    block.im[kFalling + i] *= window[kFloatFrame + 2 * i + 1];
  }
  spectrumOf<float>(block, spectrum);
}

void ScalarFloat::formBeam(const BeamWeights& weights, int beam, int begin, int end,
                           const HalfSpectrum (&x)[2], HalfSpectrum& y) {
  beamOf<float>(weights, beam, begin, end, x, y);
}

void ScalarFloat::formBeams(const BeamWeights& weights, bool outerConjugate,
                            const HalfSpectrum (&x)[2], HalfSpectrum (&y)[kFormedBeams],
                            float (&energies)[kFormedBeams]) {
  beamsOf<float>(weights, outerConjugate, x, y, energies);
}

void ScalarFloat::inverseTransform(const HalfSpectrum& spectrum, HalfSpectrum& samples) {
  inverseOf<float>(spectrum, samples);
}

void ScalarFloat::overlapAdd(const HalfSpectrum& samples, std::span<float, kFlank> overlap,
                             std::span<Word16, kFloatFrame> out) {
  constexpr std::size_t kPairs = kFloatFrame / 2;
  constexpr std::size_t kOverlapped = kFlank / 2;
  for (std::size_t i = 0; i < kOverlapped; ++i) {
    out[2 * i] = toSample(overlap[2 * i] + samples.re[i]);
    out[2 * i + 1] = toSample(overlap[2 * i + 1] + samples.im[i]);
    overlap[2 * i] = samples.re[kPairs + i];
    overlap[2 * i + 1] = samples.im[kPairs + i];
  }
  for (std::size_t i = kOverlapped; i < kPairs; ++i) {
    out[2 * i] = toSample(samples.re[i]);
    out[2 * i + 1] = toSample(samples.im[i]);
  }
}

}  // namespace arvessa::kernels
