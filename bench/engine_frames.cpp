// SPDX-License-Identifier: Apache-2.0
#include "engine_frames.h"

#include <algorithm>

#include "cases.h"
#include "signal.h"

namespace arvessa::bench {
namespace {

constexpr int kCaptured = 128;  // 1.28 s, words and pauses

Words copyOf(std::span<const Word32> words) { return {words.begin(), words.end()}; }
BoundedWords copyOf(const ConstBlock& block) { return {copyOf(block.words), block.bits}; }

// Copies what the stages leave.
struct Capture {
  EngineFrame& frame;

  void operator()(const Analysed& analysed) const {
    frame.samples.assign(analysed.samples.begin(), analysed.samples.end());
    frame.power = copyOf(analysed.power);
    std::ranges::copy(analysed.bandPower, frame.bandPower.begin());
  }
  void operator()(const NoiseEstimated& /*estimate*/) const {}
  void operator()(const GainsFound& found) const {
    std::ranges::copy(found.power.noise, frame.bandNoise.begin());
    std::ranges::copy(found.snr.posterior, frame.posteriorSnr.begin());
    std::ranges::copy(found.snr.prior, frame.priorSnr.begin());
  }
  void operator()(const Suppressed& suppressed) const {
    frame.suppressed = copyOf(suppressed.spectrum.words);
  }
  void operator()(const Normalised& normalised) const {
    frame.normalised = copyOf(normalised.spectrum);
  }
  void operator()(const Transformed& transformed) const {
    frame.transformed = copyOf(transformed.time.words);
    frame.exponent = transformed.time.exponent;
    // The signal for the forward transform, too, with the headroom that the analysis leaves.
    frame.block = frame.transformed;
    frame.blockBits = normalised(frame.block, 6).bits;
  }
};

}  // namespace

EngineFrames captureEngineFrames(int rateCode) {
  const Rate& rate = kRates[rateCode];
  const FrameStream speech = noisySpeech(rateCode);
  std::vector<Word16> out(static_cast<std::size_t>(rate.samples));
  EngineFrames captured{};
  initialise(captured.state);
  for (int i = 0; i < kWarmUp + kCaptured; ++i) {
    EngineFrame frame{};
    Capture observer{frame};
    countFrame(captured.state);
    reduceNoise(rate, true, {speech.frame(i), out.size()}, captured.state, out, observer);
    if (i >= kWarmUp) captured.frames.push_back(std::move(frame));
  }
  return captured;
}

}  // namespace arvessa::bench
