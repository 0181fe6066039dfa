// SPDX-License-Identifier: Apache-2.0
#include "beamformer/mvdr_beamformer.h"

#include <cstring>

#include "beamformer/window_table.h"
#include "kernels/float_kernels.h"

namespace arvessa {
namespace {

using Spectrum = kernels::HalfSpectrum;
using kernels::kFloatBins;

static_assert(kBeamBlock == kernels::kFloatBlock);
constexpr int kFirstEnergyBin = 16;               // 1000 Hz
constexpr std::uint32_t kDecisionPeriod = 16;     // frames
constexpr std::int32_t kLastImmediateCount = 63;  // the first four decisions take effect at once

// The spectrum of a microphone's block.
void analyse(const Word16* samples, Spectrum& spectrum) {
  float block[kBeamBlock];
  for (int i = 0; i < kBeamBlock; ++i) block[i] = static_cast<float>(samples[i]);
  for (int i = 0; i < kBeamHistory; ++i) {
    // Between its flanks the window is 1.
    block[i] *= MVDR_CONST_TABLE_fWIN_8k[i];
    block[kBeamFrame + i] *= MVDR_CONST_TABLE_fWIN_8k[kBeamFrame + i];
  }
  FloatKernels::forwardTransform(block, spectrum);
}

BeamWeights beamOf(BeamWeights weights, int beam) {
  return {weights.re + beam * kBeamBlock, weights.im + beam * kBeamBlock};
}

// The output of one beam in some bins. Bin 0, the DC and the Nyquist value, is weighted as if it
// were one complex value.
void applyBeam(BeamWeights beam, int firstBin, int endBin, const Spectrum& x1, const Spectrum& x2,
               Spectrum& y) {
  const float* wRe = beam.re;
  const float* wIm = beam.im;
  for (int k = firstBin; k < endBin; ++k) {
    const float w1Re = wRe[2 * k];
    const float w1Im = wIm[2 * k];
    const float w2Re = wRe[2 * k + 1];
    const float w2Im = wIm[2 * k + 1];
    y.re[k] = ((x1.re[k] * w1Re) - (x1.im[k] * w1Im)) + ((x2.re[k] * w2Re) - (x2.im[k] * w2Im));
    y.im[k] = ((x1.re[k] * w1Im) + (w1Re * x1.im[k])) + ((x2.re[k] * w2Im) + (w2Re * x2.im[k]));
  }
}

// Summed in bin order: another order rounds differently.
float energy(const Spectrum& y) {
  float sum = 0.0F;
  for (int k = kFirstEnergyBin; k < kFloatBins; ++k) {
    sum = (y.re[k] * y.re[k] + sum) + y.im[k] * y.im[k];
  }
  return sum;
}

Word16 loudestBeam(const float* beamEnergy) {
  Word16 best = 0;
  for (Word16 beam = 1; beam < kBeams; ++beam) {
    if (beamEnergy[best] < beamEnergy[beam]) best = beam;
  }
  return best;
}

void decideBeam(BeamformerState& state) {
  const Word16 best = loudestBeam(state.beamEnergy);
  if (static_cast<std::int32_t>(state.frameCount) <= kLastImmediateCount) {
    state.beamSelected = best;
    state.beamConfirm = 1;
  } else {
    if (best == state.beamSelected) {
      if (state.beamConfirm > 1) state.beamConfirm = 1;
    } else if (best == state.beamPending) {
      state.beamConfirm = static_cast<Word16>(state.beamConfirm + 1);
      if (state.beamConfirm > 1) {
        state.beamSelected = best;
        state.beamConfirm = 1;
      }
    } else {
      state.beamConfirm = 1;
    }
    state.beamPending = best;
  }
  for (float& sum : state.beamEnergy) sum = 0.0F;
}

// Truncated toward zero and limited to a symmetric range. What is not a number, which only a
// damaged buffer can bring, gives 32767, as a minimum instruction does.
Word16 toSample(float value) {
  if (!(value <= 32767.0F)) return 32767;
  if (value < -32767.0F) return -32767;
  return static_cast<Word16>(value);
}

// One microphone's block: history, the new samples, zeros. Then the new history.
void buildBlock(const Word16* samples, Word16* history, Word16* block) {
  constexpr std::size_t kHistoryBytes = kBeamHistory * sizeof(Word16);
  std::memcpy(block, history, kHistoryBytes);
  std::memcpy(block + kBeamHistory, samples, kBeamFrame * sizeof(Word16));
  std::memset(block + kBeamHistory + kBeamFrame, 0, kHistoryBytes);
  std::memcpy(history, samples + kBeamFrame - kBeamHistory, kHistoryBytes);
}

}  // namespace

void initialise(BeamformerState& state) {
  std::memset(&state, 0, sizeof state);
  state.beamConfirm = 1;
}

void buildBlocks(std::span<const Word16, kMicrophones * kBeamFrame> samples, BeamformerState& state,
                 std::span<Word16, kMicrophones * kBeamBlock> blocks) {
  buildBlock(samples.data(), state.mic1History, blocks.data());
  buildBlock(samples.data() + kBeamFrame, state.mic2History, blocks.data() + kBeamBlock);
}

void formBeam(std::span<const Word16, kMicrophones * kBeamBlock> blocks, BeamWeights weights,
              BeamformerState& state, std::span<Word16, kBeamFrame> out) {
  Spectrum x1;
  Spectrum x2;
  analyse(blocks.data(), x1);
  analyse(blocks.data() + kBeamBlock, x2);

  Spectrum y;  // of the beam that has been selected
  Spectrum other;
  const Word16 selectedBefore = state.beamSelected;
  for (int beam = 0; beam < kBeams; ++beam) {
    Spectrum& output = beam == selectedBefore ? y : other;
    applyBeam(beamOf(weights, beam), kFirstEnergyBin, kFloatBins, x1, x2, output);
    state.beamEnergy[beam] += energy(output);
  }
  if (state.frameCount % kDecisionPeriod == kDecisionPeriod - 1) decideBeam(state);

  const int missing = state.beamSelected == selectedBefore ? kFirstEnergyBin : kFloatBins;
  applyBeam(beamOf(weights, state.beamSelected), 0, missing, x1, x2, y);
  float block[kBeamBlock];
  FloatKernels::inverseTransform(y, block);

  Word16* const samples = out.data();
  for (int i = 0; i < kBeamHistory; ++i) samples[i] = toSample(state.beamOverlap[i] + block[i]);
  for (int i = kBeamHistory; i < kBeamFrame; ++i) samples[i] = toSample(block[i]);
  for (int i = 0; i < kBeamHistory; ++i) state.beamOverlap[i] = block[kBeamFrame + i];
}

}  // namespace arvessa
