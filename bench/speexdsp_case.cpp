// SPDX-License-Identifier: Apache-2.0
// A peer for comparison: the preprocessor of the Speex codec's signal processing library, a frame
// of 10 ms at 8 kHz with its denoiser and its automatic gain control.

#include <speex/speex_preprocess.h>

#include <algorithm>
#include <array>
#include <memory>

#include "Arvessa.h"
#include "cases.h"
#include "signal.h"

namespace arvessa::bench {
namespace {

struct Preprocessor {
  Preprocessor() {
    int on = 1;
    speex_preprocess_ctl(state.get(), SPEEX_PREPROCESS_SET_DENOISE, &on);
    speex_preprocess_ctl(state.get(), SPEEX_PREPROCESS_SET_AGC, &on);
  }

  FrameStream speech = noisySpeech(0);
  std::unique_ptr<SpeexPreprocessState, decltype(&speex_preprocess_state_destroy)> state{
      speex_preprocess_state_init(ARVESSA_FRAME_SAMPLES, ARVESSA_SAMPLE_RATE),
      speex_preprocess_state_destroy};
  Slots<std::array<Word16, ARVESSA_FRAME_SAMPLES>> frames;
};

// Works in place.
Work preprocessor() {
  auto p = std::make_shared<Preprocessor>();
  return {
      [p](int i) { std::copy_n(p->speech.frame(i), ARVESSA_FRAME_SAMPLES, p->frames[i].begin()); },
      [p](int i) { speex_preprocess_run(p->state.get(), p->frames[i].data()); }};
}

}  // namespace

void addSpeexDspCase(std::vector<Case>& cases) {
  cases.push_back({"speex_preprocess_run/8k", preprocessor});
}

}  // namespace arvessa::bench
