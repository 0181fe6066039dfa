// SPDX-License-Identifier: Apache-2.0
// The beamformer and its transforms in single precision.

#include <algorithm>
#include <array>
#include <memory>
#include <vector>

#include "beamformer/mvdr_beamformer.h"
#include "beamformer/window_table.h"
#include "cases.h"
#include "kernels/float_kernels.h"
#include "signal.h"

namespace arvessa::bench {
namespace {

struct Beam {
  FrameStream speech = noisySpeechOfTwo();
  BeamformerState histories{};
  BeamformerState state{};
  Slots<std::array<Word16, kMicrophones * kBeamBlock>> blocks;
  std::array<Word16, kBeamFrame> out{};

  Beam() { initialise(state); }

  void prepare(int frame) {
    constexpr std::size_t kSamples = kMicrophones * kBeamFrame;
    buildBlocks(std::span<const Word16, kSamples>(speech.frame(frame), kSamples), histories,
                blocks[frame]);
  }
  void run(int frame) {
    formBeam(blocks[frame], storedBeams(), state, out);
    ++state.frameCount;
  }
};

Work beamformer() {
  auto beam = std::make_shared<Beam>();
  return {[beam](int i) { beam->prepare(i); }, [beam](int i) { beam->run(i); }};
}

struct FloatTransform {
  using Samples = std::array<Word16, kBeamBlock>;

  std::vector<Samples> blocks;  // consecutive ones of one microphone
  std::vector<kernels::HalfSpectrum> spectra;
  kernels::HalfSpectrum samples{};
  kernels::HalfSpectrum spectrum{};

  FloatTransform() {
    const FrameStream speech = noisySpeech(0);
    for (int i = 0; i < kWarmUp; ++i) {
      Samples block{};
      std::copy_n(speech.frame(i), kBeamFrame, block.begin());
      blocks.push_back(block);
      FloatKernels::analyse(blocks.back(), MVDR_CONST_TABLE_fWIN_8k, spectra.emplace_back());
    }
  }
};

Work floatTransform() {
  auto t = std::make_shared<FloatTransform>();
  return {{}, [t](int i) {
            FloatKernels::analyse(t->blocks[static_cast<unsigned>(i) % kWarmUp],
                                  MVDR_CONST_TABLE_fWIN_8k, t->spectrum);
          }};
}

Work floatInverse() {
  auto t = std::make_shared<FloatTransform>();
  return {{}, [t](int i) {
            FloatKernels::inverseTransform(t->spectra[static_cast<unsigned>(i) % kWarmUp],
                                           t->samples);
          }};
}

}  // namespace

void addBeamformerCases(std::vector<Case>& cases) {
  cases.push_back({"beamformer", beamformer});
  cases.push_back({"float_transform", floatTransform});
  cases.push_back({"float_inverse", floatInverse});
}

}  // namespace arvessa::bench
