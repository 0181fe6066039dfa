// The stages that work on samples: the two bands at 48 kHz and the levelling at every rate.

#include <array>
#include <memory>
#include <string>

#include "agc/agc.h"
#include "cases.h"
#include "engine/band_split.h"
#include "engine/engine_init.h"
#include "engine/engine_state.h"
#include "signal.h"

namespace arvessa::bench {
namespace {

constexpr Word16 kLowFrame = kMaxFullbandFrame / 3;

struct Bands {
  std::array<Word16, kLowFrame> low{};
  std::array<Word16, kMaxFullbandFrame> high{};
};

struct BandFilters {
  FrameStream speech = noisySpeech(3);
  WvqeState state{};
  Slots<Bands> bands;
  std::array<Word16, kMaxFullbandFrame> out{};

  void split(int frame) {
    Bands& b = bands[frame];
    AEC_Split_Ne(speech.frame(frame), b.low.data(), b.high.data(), kLowFrame, state.splitLpfX,
                 state.splitLpfY, state.splitHpfX, state.splitHpfY);
  }
  void join(int frame) {
    const Bands& b = bands[frame];
    AEC_Syn_Ne(b.low.data(), b.high.data(), out.data(), kLowFrame, state.synLpfX, state.synLpfY);
  }
};

Work bandSplit() {
  auto filters = std::make_shared<BandFilters>();
  return {{}, [filters](int i) { filters->split(i); }};
}

Work bandSynthesis() {
  auto filters = std::make_shared<BandFilters>();
  return {[filters](int i) { filters->split(i); }, [filters](int i) { filters->join(i); }};
}

struct Levelling {
  explicit Levelling(int code) : speech(noisySpeech(code)), rateCode(static_cast<Word16>(code)) {
    VQE_Init(&state);
    state.vadFlag = 1;
  }

  FrameStream speech;
  Word16 rateCode;
  WvqeState state{};
  std::array<Word16, kMaxFullbandFrame> out{};
};

Work levelling(int rateCode) {
  auto l = std::make_shared<Levelling>(rateCode);
  return {{}, [l](int i) {
            VED_AGC_Process(&l->state, l->speech.frame(i), WVQE_AGC_GAIN_TABLE_15_9, l->rateCode,
                            l->out.data());
          }};
}

}  // namespace

void addBandSplitCases(std::vector<Case>& cases) {
  cases.push_back({"AEC_Split_Ne", bandSplit});
  cases.push_back({"AEC_Syn_Ne", bandSynthesis});
}

void addAgcCases(std::vector<Case>& cases) {
  for (int rate = 0; rate < 4; ++rate) {
    cases.push_back(
        {std::string("VED_AGC_Process") + rateSuffix(rate), [rate] { return levelling(rate); }});
  }
}

}  // namespace arvessa::bench
