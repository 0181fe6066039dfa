// SPDX-License-Identifier: Apache-2.0
#include "abi/exported_beamformer.h"

#include "abi/work_buffer.h"
#include "kernels/float_kernels.h"

extern "C" {

void MVDR_Complex_FFT(float* data, int n, int half, int stages, const float* twiddle,
                      const unsigned short* phaseIndex) {
  arvessa::kernels::forwardComplex(data, {n, half, stages, twiddle, phaseIndex});
}

void MVDR_Complex_IFFT(float* data, int n, int half, int stages, const float* twiddle,
                       const unsigned short* phaseIndex) {
  arvessa::kernels::inverseComplex(data, {n, half, stages, twiddle, phaseIndex});
}

void MVDR_FFT(float* data, int n, int half, int stages, const float* twiddle,
              const unsigned short* phaseIndex, float* out) {
  const arvessa::kernels::FloatTransform transform = {n, half, stages, twiddle, phaseIndex};
  arvessa::kernels::forwardComplex(data, transform);
  arvessa::kernels::unpackPairs(data, transform, out);
}

void MVDR_IFFT(const float* spectrum, int n, int half, int stages, const float* twiddle,
               const unsigned short* phaseIndex, float* out) {
  const arvessa::kernels::FloatTransform transform = {n, half, stages, twiddle, phaseIndex};
  arvessa::kernels::packPairs(spectrum, transform, out);
  arvessa::kernels::inverseComplex(out, transform);
}

void MVDR_BeamForming(const Word16* frame, Word16* out, ArvessaState* work) {
  using namespace arvessa;
  constexpr std::size_t kBlocks = kMicrophones * kBeamBlock;
  formBeam(std::span<const Word16, kBlocks>(frame, kBlocks), storedBeams(), work->beamformer,
           std::span<Word16, kBeamFrame>(out, kBeamFrame));
}

}  // extern "C"
