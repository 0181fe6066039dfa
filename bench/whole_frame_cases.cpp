// SPDX-License-Identifier: Apache-2.0
// Whole frames through the public interface.

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

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
  FrontEnd(FrameStream frames, bool engine, bool suppress) : input(std::move(frames)) {
    cfg.nrEnable = suppress ? 1 : 0;
    cfg.engineEnable = engine ? 1 : 0;
    Arvessa_Init(&cfg);
  }

  FrameStream input;
  Memory<ARVESSA_WORK_BYTES> work{};
  ArvessaConfig cfg{work.data(), sizeof work, 0, 0, 0};
  alignas(ARVESSA_WORK_ALIGNMENT) std::array<Word16, ARVESSA_FRAME_SAMPLES> out{};
};

Work frontEnd(FrameStream frames, bool engine, bool suppress) {
  auto f = std::make_shared<FrontEnd>(std::move(frames), engine, suppress);
  return {{}, [f](int i) { Arvessa(f->input.frame(i), f->out.data(), &f->cfg); }};
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

// The kinds of whole frames: the engine by rate, the front end.
struct Whole {
  std::string name;
  int rate;  // of the recipe that is dear
  int frameLength;
  std::function<FrameStream()> speech;
  std::function<Work(FrameStream)> work;
};

std::vector<Whole> wholeFrames() {
  std::vector<Whole> all;
  for (int rate = 0; rate < kRateCodes; ++rate) {
    for (const bool suppress : {false, true}) {
      for (const bool agc : {false, true}) {
        all.push_back(
            {"VORN_Proc" + rateSuffix(rate) + switches("nr", suppress, "agc", agc), rate,
             kRates[rate].samples, [=] { return noisySpeech(rate); },
             [=](FrameStream frames) { return engine(std::move(frames), rate, suppress, agc); }});
      }
    }
  }
  const auto addFrontEnd = [&](const char* name, bool hasEngine, bool suppress) {
    all.push_back({name, 0, 2 * ARVESSA_FRAME_SAMPLES, noisySpeechOfTwo, [=](FrameStream frames) {
                     return frontEnd(std::move(frames), hasEngine, suppress);
                   }});
  };
  addFrontEnd("Arvessa/engine0", false, false);
  addFrontEnd("Arvessa/engine1_nr0", true, false);
  addFrontEnd("Arvessa/engine1_nr1", true, true);
  return all;
}

}  // namespace

void addWholeFrameCases(std::vector<Case>& cases) {
  for (const Whole& whole : wholeFrames()) {
    cases.push_back({whole.name, [whole] { return whole.work(whole.speech()); }});
    for (const HardSignal& signal : hardSignals()) {
      if (whole.name != "VORN_Proc/8k/nr1_agc1") break;
      cases.push_back({whole.name + "/" + signal.name, [whole, &signal] {
                         return whole.work(framesOf(signal.recipe, whole.frameLength));
                       }});
    }
    cases.push_back({whole.name + "/found", [whole] {
                       return whole.work(framesOf(foundRecipe(whole.rate), whole.frameLength));
                     }});
  }
}

std::optional<Case> caseOfRecipe(std::string_view name, std::string_view recipe) {
  for (const Whole& whole : wholeFrames()) {
    if (whole.name != name) continue;
    return Case{whole.name, [whole, recipe = std::string(recipe)] {
                  return whole.work(framesOf(recipe, whole.frameLength));
                }};
  }
  return std::nullopt;
}

}  // namespace arvessa::bench
