// SPDX-License-Identifier: Apache-2.0
// A peer for comparison: the preprocessor of the Speex codec's signal processing library, a frame
// of 10 ms with its denoiser and its automatic gain control.

#include <speex/speex_preprocess.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string>

#include "Vorn.h"
#include "cases.h"
#include "noise_reduction/geometry.h"
#include "signal.h"

namespace arvessa::bench {
namespace {

struct Preprocessor {
  explicit Preprocessor(int rateCode)
      : speech(noisySpeech(rateCode)),
        samples(kRates[rateCode].samples),
        state(speex_preprocess_state_init(samples, 100 * samples), speex_preprocess_state_destroy) {
    int on = 1;
    speex_preprocess_ctl(state.get(), SPEEX_PREPROCESS_SET_DENOISE, &on);
    speex_preprocess_ctl(state.get(), SPEEX_PREPROCESS_SET_AGC, &on);
  }

  FrameStream speech;
  int samples;  // of a frame
  std::unique_ptr<SpeexPreprocessState, decltype(&speex_preprocess_state_destroy)> state;
  Slots<std::array<Word16, VORN_MAX_FRAME_SAMPLES>> frames;
};

// Works in place.
Work preprocessor(int rateCode) {
  auto p = std::make_shared<Preprocessor>(rateCode);
  return {[p](int i) { std::copy_n(p->speech.frame(i), p->samples, p->frames[i].begin()); },
          [p](int i) { speex_preprocess_run(p->state.get(), p->frames[i].data()); }};
}

}  // namespace

void addSpeexDspCase(std::vector<Case>& cases) {
  for (const int rate : {0, 1, 3}) {
    cases.push_back(
        {"speex_preprocess_run" + rateSuffix(rate), [rate] { return preprocessor(rate); }});
  }
}

}  // namespace arvessa::bench
