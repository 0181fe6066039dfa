// SPDX-License-Identifier: Apache-2.0
// The stages of the noise reduction, each with the inputs that it meets in noisy speech.

#include <array>
#include <memory>
#include <string>

#include "cases.h"
#include "engine_frames.h"
#include "signal.h"

namespace arvessa::bench {
namespace {

struct Stages {
  explicit Stages(int rateCode)
      : frames(captureEngineFrames(rateCode)),
        geometry(geometryOf(kRates[rateCode].sizeCode)),
        state(frames.state) {}

  EngineFrames frames;
  Geometry geometry;
  NoiseReductionState state;
  Slots<Words> data;  // what the stage overwrites
  std::array<Word32, kMaxTransform> time{};
  std::array<Word32, kMaxTransform> spectrum{};
  std::array<Word32, kMaxBins> power{};
  std::array<Word32, kBands> bands{};
  std::array<unsigned char, kMaxBins> active{};
  std::array<Word16, kMaxBins> binGains{};
  std::array<Word16, kBands> posteriorSnr{};
  std::array<Word16, kBands> priorSnr{};
  std::array<Word16, kMaxFrame> out{};

  template <class T, std::size_t n>
  std::span<T> bins(std::array<T, n>& buffer) const {
    return std::span(buffer).first(static_cast<std::size_t>(geometry.bins));
  }
  std::span<Word32> block(std::array<Word32, kMaxTransform>& buffer) const {
    return std::span(buffer).first(2 * static_cast<std::size_t>(geometry.bins));
  }

  void analysis(int i) {
    std::array<Word32, kMaxFrame> words;
    analyse(geometry, Kernels::normaliseSamples(frames[i].samples, kAnalysisHeadroom, words),
            analysisMemory(state, geometry), {block(time), block(spectrum), bins(power), bands});
  }
  void transform(int i) {
    Kernels::forwardTransform({data[i], frames[i].blockBits}, geometry.transform, block(spectrum));
  }
  void noise(int i) {
    ++state.minWinCount;
    estimateNoise(frames[i].power.view(), state.frameCountSat, noiseMemory(state, geometry.bins),
                  bins(active));
  }
  void sumIntoBands(int i) { Kernels::sumIntoBands(frames[i].power.view(), geometry.bank, bands); }
  void snr(int i) {
    const EngineFrame& f = frames[i];
    estimateSnr({f.bandPower, f.bandNoise}, false, state.bandSnrState, {posteriorSnr, priorSnr});
  }
  void gain(int i) {
    const EngineFrame& f = frames[i];
    suppressionGains({f.bandPower, f.bandNoise}, {f.posteriorSnr, f.priorSnr}, gainMemory(state),
                     geometry.bank, bins(binGains));
  }
  // 24 values in the range of Q15 gains; the cost does not depend on them.
  void spreadToBins(int i) {
    Kernels::spreadToBins(frames[i].priorSnr, geometry.bank, bins(binGains));
  }
  void normalise(int i) { Kernels::normalise(data[i], 8); }
  void inverse(int i) {
    Kernels::inverseTransform(frames[i].normalised.view(), geometry.transform, block(time));
  }
  void output(int i) {
    const auto samples = static_cast<std::size_t>(geometry.frame);
    synthesise({data[i], kAllBits, frames[i].exponent},
               std::span(state.olaBuffer).first(data[i].size() - samples), state.deemphMem,
               std::span(out).first(samples));
  }
};

using Step = void (Stages::*)(int);

// `input`: what the step overwrites.
Work stage(int rateCode, Step step, Words EngineFrame::*input = nullptr) {
  auto s = std::make_shared<Stages>(rateCode);
  Work work{{}, [s, step](int i) { ((*s).*step)(i); }};
  if (input != nullptr) work.prepare = [s, input](int i) { s->data[i] = s->frames[i].*input; };
  return work;
}

struct BandFilters {
  FrameStream speech = noisySpeech(3);
  NoiseReductionState state{};
  struct Bands {
    std::array<Word16, kMaxLowFrame> low{};
    std::array<Word16, kMaxFullbandFrame> high{};
  };
  Slots<Bands> bands;
  std::array<Word16, kMaxFullbandFrame> out{};

  void split(int frame) {
    const BandSplitMemory memory = bandSplitMemory(state);
    splitBands({speech.frame(frame), out.size()}, memory.splitLow, memory.splitHigh,
               bands[frame].low, bands[frame].high);
  }
  void join(int frame) {
    joinBands(bands[frame].low, bandSplitMemory(state).joinLow, bands[frame].high, out);
  }
};

Work splitting() {
  auto filters = std::make_shared<BandFilters>();
  return {{}, [filters](int i) { filters->split(i); }};
}

Work joining() {
  auto filters = std::make_shared<BandFilters>();
  return {[filters](int i) { filters->split(i); }, [filters](int i) { filters->join(i); }};
}

}  // namespace

void addNoiseReductionCases(std::vector<Case>& cases) {
  const auto add = [&](const std::string& name, int rate, Step step,
                       Words EngineFrame::*input = nullptr) {
    cases.push_back({name, [=] { return stage(rate, step, input); }});
  };
  cases.push_back({"split_bands", splitting});
  for (int rate = 0; rate < 3; ++rate) {
    const std::string suffix = rateSuffix(rate);
    const std::string points = std::to_string(2 * geometryOf(kRates[rate].sizeCode).bins);
    add("analysis" + suffix, rate, &Stages::analysis);
    add("transform/" + points, rate, &Stages::transform, &EngineFrame::block);
    add("bands" + suffix, rate, &Stages::sumIntoBands);
    add("noise" + suffix, rate, &Stages::noise);
    if (rate == 0) add("snr", rate, &Stages::snr);
    add("gain" + suffix, rate, &Stages::gain);
    add("bins" + suffix, rate, &Stages::spreadToBins);
    add("normalise" + suffix, rate, &Stages::normalise, &EngineFrame::suppressed);
    add("inverse/" + points, rate, &Stages::inverse);
    add("output" + suffix, rate, &Stages::output, &EngineFrame::transformed);
  }
  cases.push_back({"join_bands", joining});
}

}  // namespace arvessa::bench
