// SPDX-License-Identifier: Apache-2.0
// Whole frames through the public interface.

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "Arvessa.h"
#include "Vorn.h"
#include "cases.h"
#include "hard_signals.h"
#include "noise_reduction/geometry.h"
#include "signal.h"

namespace arvessa::bench {
namespace {

template <std::size_t kBytes>
using Memory = std::array<std::uint32_t, (kBytes + 3) / 4>;

struct FrontEnd {
  FrontEnd(bool engine, bool suppress) {
    cfg.nrEnable = suppress ? 1 : 0;
    cfg.engineEnable = engine ? 1 : 0;
    Arvessa_Init(&cfg);
  }

  FrameStream speech = noisySpeechOfTwo();
  Memory<ARVESSA_WORK_BYTES> work{};
  ArvessaConfig cfg{work.data(), sizeof work, 0, 0, 0};
  alignas(ARVESSA_WORK_ALIGNMENT) std::array<Word16, ARVESSA_FRAME_SAMPLES> out{};
};

Work frontEnd(bool engine, bool suppress) {
  auto f = std::make_shared<FrontEnd>(engine, suppress);
  return {{}, [f](int i) { Arvessa(f->speech.frame(i), f->out.data(), &f->cfg); }};
}

struct Engine {
  Engine(FrameStream frames, int rateCode, bool suppress, bool agc) : input(std::move(frames)) {
    cfg.rateCode = static_cast<std::uint8_t>(rateCode);
    cfg.nrEnable = suppress ? 1 : 0;
    cfg.agcEnable = agc ? 1 : 0;
    VORN_Init(&cfg);
  }

  FrameStream input;
  Memory<VORN_STATE_BYTES> state{};
  VornConfig cfg{state.data(), sizeof state, VORN_CHECK_VALUE, 0, 0, 0, 4};
  alignas(VORN_STATE_ALIGNMENT) std::array<Word16, VORN_MAX_FRAME_SAMPLES> out{};
};

Work engine(FrameStream frames, int rateCode, bool suppress, bool agc) {
  auto e = std::make_shared<Engine>(std::move(frames), rateCode, suppress, agc);
  return {{}, [e](int i) {
            Word16 length = VORN_MAX_FRAME_SAMPLES;
            VORN_Proc(e->input.frame(i), VORN_MAX_FRAME_SAMPLES, e->out.data(), &length, &e->cfg);
          }};
}

std::string switches(const char* first, bool firstOn, const char* second, bool secondOn) {
  return std::string("/") + first + (firstOn ? "1" : "0") + "_" + second + (secondOn ? "1" : "0");
}

}  // namespace

void addWholeFrameCases(std::vector<Case>& cases) {
  for (int rate = 0; rate < kRateCodes; ++rate) {
    for (const bool suppress : {false, true}) {
      for (const bool agc : {false, true}) {
        cases.push_back({"VORN_Proc" + rateSuffix(rate) + switches("nr", suppress, "agc", agc),
                         [=] { return engine(noisySpeech(rate), rate, suppress, agc); }});
      }
    }
  }
  for (const HardSignal& signal : hardSignals()) {
    cases.push_back({std::string("VORN_Proc/8k/nr1_agc1/") + signal.name,
                     [&signal] { return engine(framesOf(signal), 0, true, true); }});
  }
  cases.push_back({"Arvessa/engine0", [] { return frontEnd(false, false); }});
  for (const bool suppress : {false, true}) {
    cases.push_back({"Arvessa" + switches("engine", true, "nr", suppress),
                     [=] { return frontEnd(true, suppress); }});
  }
}

}  // namespace arvessa::bench
