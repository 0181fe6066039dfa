// The stages of the engine, each with the inputs that it meets in a stream of noisy speech.

#include <array>
#include <memory>
#include <string>

#include "cases.h"
#include "engine/analysis.h"
#include "engine/filterbank.h"
#include "engine/noise_estimation.h"
#include "engine/nr_pipeline.h"
#include "engine/snr_estimation.h"
#include "engine/suppression_gain.h"
#include "engine_frames.h"
#include "fixedpoint/block_float.h"

namespace arvessa::bench {
namespace {

struct Stage {
  explicit Stage(int sizeCode)
      : frames(captureEngineFrames(sizeCode)),
        t(sizeTables(sizeCode)),
        rateCode(static_cast<Word16>(sizeCode)),
        frame(kGeometry[sizeCode].frame),
        bins(kGeometry[sizeCode].bins),
        points(static_cast<Word16>(2 * bins)),
        history(kGeometry[sizeCode].history),
        state(frames.state) {}

  EngineFrames frames;
  SizeTables t;
  Word16 rateCode;
  Word16 frame;
  Word16 bins;
  Word16 points;
  Word16 history;
  WvqeState state;
  Slots<FrameWords> input;
  Slots<Block> data;
  Block timeBuf{};
  Block spectrum{};
  BinPowers power{};
  BandPowers band{};
  BandSnrs postSnr{};
  BandSnrs priorSnr{};
  std::array<unsigned char, kMaxBins> binActive{};
  std::array<Word16, kMaxBins> binGain{};
  std::array<Word16, kMaxFrame> out{};

  void analysis(int i) {
    WVQE_Analysis(input[i].data(), power.data(), band.data(), timeBuf.data(), spectrum.data(),
                  timeBuf.data(), t.twiddles, t.rearranged, t.window, t.bankLeft, t.filterLeft,
                  t.bankRight, t.filterRight, frame, bins, history, rateCode, &state);
  }
  void noise(int i) {
    ++state.minWinCount;
    WVQE_Noise_Vad(&state, bins, frames[i].powerSpec.data(), binActive.data());
  }
  void bank(int i) {
    WVQE_Spectrum_Bank(frames[i].powerSpec.data(), band.data(), t.bankLeft, t.bankRight,
                       t.filterLeft, t.filterRight, bins);
  }
  void snr(int i) {
    const EngineFrame& f = frames[i];
    WVQE_PostAndPriorSNR(postSnr.data(), priorSnr.data(), state.bandSnrState, f.bandPower.data(),
                         f.bandNoise.data(), static_cast<Word16>(state.frameCountSat));
  }
  void gain(int i) {
    const EngineFrame& f = frames[i];
    WVQE_Gain_Proc(&state, f.postSnr.data(), f.priorSnr.data(), f.bandNoise.data(),
                   f.bandPower.data(), t.bankLeft, t.filterLeft, t.bankRight, t.filterRight, 1,
                   bins, binGain.data());
  }
  void normalise(int i) { WVQE_Block_Norm(data[i].data(), points, 8); }
  void denormalise(int i) { WVQE_Block_Denorm(data[i].data(), points, frames[i].denormShift); }
  // 24 values in the range of Q15 gains; the cost does not depend on them.
  void spread(int i) {
    WVQE_Spectrum_PSD(binGain.data(), t.filterLeft, t.filterRight, t.bankLeft, t.bankRight,
                      frames[i].priorSnr.data(), bins);
  }
  void output(int i) {
    VORN_WVQE_MainProcess_ASM(state.olaBuffer, data[i].data(), &state.deemphMem, out.data(), frame,
                              bins);
  }

  void restoreInput(int i) { input[i] = frames[i].analysisInput; }
  void restoreSuppressed(int i) { data[i] = frames[i].suppressed; }
  void restoreSynthesised(int i) { data[i] = frames[i].synthesised; }
  void restoreTimeBlock(int i) { data[i] = frames[i].restored; }
};

using Step = void (Stage::*)(int);

Work stage(int sizeCode, Step run, Step prepare = nullptr) {
  auto s = std::make_shared<Stage>(sizeCode);
  Work work{{}, [s, run](int i) { ((*s).*run)(i); }};
  if (prepare != nullptr) work.prepare = [s, prepare](int i) { ((*s).*prepare)(i); };
  return work;
}

}  // namespace

void addEngineStageCases(std::vector<Case>& cases) {
  const auto addAtAllSizes = [&](const char* name, Step run, Step prepare = nullptr) {
    for (int size = 0; size < 3; ++size) {
      cases.push_back({name + std::string(rateSuffix(size)),
                       [size, run, prepare] { return stage(size, run, prepare); }});
    }
  };
  addAtAllSizes("WVQE_Analysis", &Stage::analysis, &Stage::restoreInput);
  addAtAllSizes("WVQE_Noise_Vad", &Stage::noise);
  addAtAllSizes("WVQE_Spectrum_Bank", &Stage::bank);
  cases.push_back({"WVQE_PostAndPriorSNR", [] { return stage(0, &Stage::snr); }});
  addAtAllSizes("WVQE_Gain_Proc", &Stage::gain);
  addAtAllSizes("WVQE_Spectrum_PSD", &Stage::spread);
  addAtAllSizes("WVQE_Block_Norm", &Stage::normalise, &Stage::restoreSuppressed);
  addAtAllSizes("WVQE_Block_Denorm", &Stage::denormalise, &Stage::restoreSynthesised);
  addAtAllSizes("VORN_WVQE_MainProcess_ASM", &Stage::output, &Stage::restoreTimeBlock);
}

}  // namespace arvessa::bench
