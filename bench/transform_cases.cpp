// The transforms: the beamformer's in single precision, the engine's in fixed point at its three
// sizes.

#include <array>
#include <bit>
#include <memory>
#include <string>

#include "beamformer/float_fft.h"
#include "beamformer/float_fft_tables.h"
#include "cases.h"
#include "engine/fixed_fft.h"
#include "engine_frames.h"
#include "signal.h"

namespace arvessa::bench {
namespace {

using FloatBlock = std::array<float, kFloatFftSize>;

struct FloatTransform {
  static constexpr int kHalf = kFloatFftSize / 2;
  static constexpr int kStages = 6;

  std::vector<FloatBlock> windowed;  // consecutive blocks of the first microphone
  std::vector<FloatBlock> spectra;
  Slots<FloatBlock> data;
  FloatBlock out{};

  FloatTransform() {
    const FrameStream speech = noisySpeech(0);
    for (int i = 0; i < kWarmUp; ++i) {
      FloatBlock block{};
      for (std::size_t n = 0; n < 80; ++n) {
        block[n] = static_cast<float>(speech.frame(i)[n]) * MVDR_CONST_TABLE_fWIN_8k[n];
      }
      windowed.push_back(block);
      FloatBlock& spectrum = spectra.emplace_back();
      forward(block, spectrum);
    }
  }
  static void forward(FloatBlock& block, FloatBlock& spectrum) {
    MVDR_FFT(block.data(), kFloatFftSize, kHalf, kStages, MVDR_CONST_TABLE_FFT_fCOEF_8K,
             MVDR_CONST_TABLE_PHASE_INDEX_8K, spectrum.data());
  }
};

Work floatForward() {
  auto t = std::make_shared<FloatTransform>();
  return {[t](int i) { t->data[i] = t->windowed[static_cast<unsigned>(i) % kWarmUp]; },
          [t](int i) { FloatTransform::forward(t->data[i], t->out); }};
}

Work floatInverse() {
  auto t = std::make_shared<FloatTransform>();
  return {{}, [t](int i) {
            MVDR_IFFT(t->spectra[static_cast<unsigned>(i) % kWarmUp].data(), kFloatFftSize,
                      FloatTransform::kHalf, FloatTransform::kStages, MVDR_CONST_TABLE_FFT_fCOEF_8K,
                      MVDR_CONST_TABLE_PHASE_INDEX_8K, t->out.data());
          }};
}

struct FixedTransform {
  explicit FixedTransform(int sizeCode)
      : frames(captureEngineFrames(sizeCode)),
        tables(sizeTables(sizeCode)),
        bins(kGeometry[sizeCode].bins),
        points(static_cast<Word16>(2 * bins)),
        stages(static_cast<Word16>(std::bit_width(unsigned(bins)) - 1)) {}

  EngineFrames frames;
  SizeTables tables;
  Word16 bins;
  Word16 points;
  Word16 stages;
  Slots<Block> data;
  Block out{};
};

Work fixedForward(int sizeCode) {
  auto t = std::make_shared<FixedTransform>(sizeCode);
  return {[t](int i) { t->data[i] = t->frames[i].timeBlock; },
          [t](int i) {
            WVQE_FFT(t->data[i].data(), t->points, t->bins, t->stages, t->tables.twiddles,
                     t->tables.rearranged, t->out.data());
          }};
}

Work fixedInverse(int sizeCode) {
  auto t = std::make_shared<FixedTransform>(sizeCode);
  return {{}, [t](int i) {
            WVQE_IFFT(t->frames[i].normalised.data(), t->points, t->bins, t->stages,
                      t->tables.twiddles, t->tables.rearranged, t->out.data());
          }};
}

}  // namespace

void addTransformCases(std::vector<Case>& cases) {
  cases.push_back({"MVDR_FFT", floatForward});
  cases.push_back({"MVDR_IFFT", floatInverse});
  for (int size = 0; size < 3; ++size) {
    const std::string points = std::to_string(2 * kGeometry[size].bins);
    cases.push_back({"WVQE_FFT/" + points, [size] { return fixedForward(size); }});
    cases.push_back({"WVQE_IFFT/" + points, [size] { return fixedInverse(size); }});
  }
}

}  // namespace arvessa::bench
