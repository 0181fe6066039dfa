#include "beamformer/mvdr_beamformer.h"

#include "beamformer/beam_weights_tables.h"
#include "beamformer/float_fft.h"
#include "beamformer/float_fft_128.h"
#include "beamformer/float_fft_tables.h"

namespace arvessa {
namespace {

constexpr int kBlock = kFloatFftSize;
constexpr int kBins = kFloatPairs;
constexpr int kFirstEnergyBin = 16;               // 1000 Hz
constexpr std::uint32_t kDecisionPeriod = 16;     // frames
constexpr std::int32_t kLastImmediateCount = 63;  // the first four decisions take effect at once

using Spectrum = ComplexBlock;  // packed half spectrum

// The packed half spectrum of a microphone's block.
void analyse(const Word16* samples, Spectrum& spectrum) {
  float block[kBlock];
  for (int i = 0; i < kBlock; ++i) block[i] = static_cast<float>(samples[i]);
  for (int i = 0; i < kBeamHistory; ++i) {
    // Between its flanks the window is 1.
    block[i] *= MVDR_CONST_TABLE_fWIN_8k[i];
    block[kBeamFrame + i] *= MVDR_CONST_TABLE_fWIN_8k[kBeamFrame + i];
  }
  ComplexBlock pairs;
  separate(block, pairs);
  forwardComplex64(pairs);
  unpackPairs64(pairs, spectrum);
}

// The block of a packed half spectrum.
void synthesise(const Spectrum& spectrum, float* block) {
  ComplexBlock pairs;
  packPairs64(spectrum, pairs);
  inverseComplex64(pairs);
  interleave(pairs, block);
}

// The output of one beam in some bins. Bin 0, the DC and the Nyquist value, is weighted as if it were
// one complex value.
void applyBeam(int beam, int firstBin, int endBin, const Spectrum& x1, const Spectrum& x2,
               Spectrum& y) {
  const float* wRe = MVDR_CONST_W_UP_OPT_REAL_TABLE + beam * kBlock;
  const float* wIm = MVDR_CONST_W_UP_OPT_IMAGINARY_TABLE + beam * kBlock;
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
  for (int k = kFirstEnergyBin; k < kBins; ++k) {
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

void decideBeam(ArvessaState& state) {
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

// Truncated toward zero and limited to a symmetric range. What is not a number, which only a damaged
// buffer can bring, gives 32767, as a minimum instruction does.
Word16 toSample(float value) {
  if (!(value <= 32767.0F)) return 32767;
  if (value < -32767.0F) return -32767;
  return static_cast<Word16>(value);
}

}  // namespace
}  // namespace arvessa

extern "C" void MVDR_BeamForming(const Word16* frame, Word16* out, ArvessaState* work) {
  using namespace arvessa;
  Spectrum x1;
  Spectrum x2;
  analyse(frame, x1);
  analyse(frame + kBlock, x2);

  Spectrum y;  // of the beam that has been selected
  Spectrum other;
  const Word16 selectedBefore = work->beamSelected;
  for (int beam = 0; beam < kBeams; ++beam) {
    Spectrum& output = beam == selectedBefore ? y : other;
    applyBeam(beam, kFirstEnergyBin, kBins, x1, x2, output);
    work->beamEnergy[beam] += energy(output);
  }
  if (work->frameCount % kDecisionPeriod == kDecisionPeriod - 1) decideBeam(*work);

  const bool kept = work->beamSelected == selectedBefore;
  applyBeam(work->beamSelected, 0, kept ? kFirstEnergyBin : kBins, x1, x2, y);
  float block[kBlock];
  synthesise(y, block);

  for (int i = 0; i < kBeamHistory; ++i) out[i] = toSample(work->beamOverlap[i] + block[i]);
  for (int i = kBeamHistory; i < kBeamFrame; ++i) out[i] = toSample(block[i]);
  for (int i = 0; i < kBeamHistory; ++i) work->beamOverlap[i] = block[kBeamFrame + i];
}
