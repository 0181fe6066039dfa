// SPDX-License-Identifier: Apache-2.0
// The gain control at every rate.

#include <memory>
#include <string>

#include "agc/agc.h"
#include "agc/agc_tables.h"
#include "cases.h"
#include "noise_reduction/geometry.h"
#include "signal.h"

namespace arvessa::bench {
namespace {

struct GainControl {
  explicit GainControl(int rateCode)
      : speech(noisySpeech(rateCode)), out(static_cast<std::size_t>(kRates[rateCode].samples)) {
    initialise(state);
    state.vadFlag = 1;
  }

  FrameStream speech;
  std::vector<Word16> out;
  AgcState state{};

  void run(int frame) {
    controlGain(state, WVQE_AGC_GAIN_TABLE_15_9, {speech.frame(frame), out.size()}, out);
  }
};

}  // namespace

void addAgcCases(std::vector<Case>& cases) {
  for (int rate = 0; rate < kRateCodes; ++rate) {
    cases.push_back({"agc" + rateSuffix(rate), [rate] {
                       auto agc = std::make_shared<GainControl>(rate);
                       return Work{{}, [agc](int i) { agc->run(i); }};
                     }});
  }
}

}  // namespace arvessa::bench
