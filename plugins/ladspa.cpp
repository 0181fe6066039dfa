// SPDX-License-Identifier: Apache-2.0
// Two LADSPA plugins in one file, for every host that loads such: `vorn`, the engine on one
// channel, and `arvessa`, two microphones in and one voice out. Blocks of any size are cut into
// frames of 10 ms, so that the output lags by a frame more than the command's with --keep-delay, and
// is otherwise the same to the bit. A switch at 0 means "on": some hosts start all controls there.

#include <ladspa.h>

#include <algorithm>
#include <array>
#include <cfenv>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <new>
#include <span>

#include "front_end/engine.h"
#include "front_end/front_end.h"

namespace arvessa::app {
namespace {

// Hosts flush denormals and may round as they like in their audio threads; the beamformer's samples
// are defined without either.
class DefaultFloats {
 public:
  DefaultFloats() {
    std::fegetenv(&host_);
    std::fesetenv(FE_DFL_ENV);
  }
  ~DefaultFloats() { std::fesetenv(&host_); }
  DefaultFloats(const DefaultFloats&) = delete;
  DefaultFloats& operator=(const DefaultFloats&) = delete;

 private:
  std::fenv_t host_{};
};

Word16 toPcm(float sample) {
  if (std::isnan(sample)) return 0;
  return static_cast<Word16>(std::lrint(std::clamp(sample * 32768.0F, -32768.0F, 32767.0F)));
}

// What a plugin computes: frames of all inputs, one after the other. Begins with everything on.
struct EngineStage {
  static constexpr unsigned long kId = 0xA57E50;  // not registered; hosts go by the label
  static constexpr const char* kLabel = "vorn";
  static constexpr const char* kName = "Arvessa: noise reduction and AGC";
  static constexpr std::size_t kInputs = 1;
  static constexpr std::size_t kLongestFrame = kEngineRates.back() / 100;
  static constexpr std::array kPorts = {"Input", "Output", "No noise reduction", "No AGC",
                                        "latency"};
  static constexpr const char* kRates = "8000, 16000, 32000 or 48000";
  static_assert(kEngineRates == std::array{8000, 16000, 32000, 48000});
  static bool accepts(unsigned long rate) {
    return std::ranges::find(kEngineRates, rate) != kEngineRates.end();
  }

  explicit EngineStage(int rate) : engine({}, rate) {}
  void change(std::span<const bool> off) {
    engine.change({.noiseReduction = !off[0], .agc = !off[1]});
  }
  void process(std::span<const Word16> in, std::span<Word16> out) { engine.process(in, out); }
  int latency() const { return engine.latency(); }

  Engine engine;
};

struct FrontEndStage {
  static constexpr unsigned long kId = EngineStage::kId + 1;
  static constexpr const char* kLabel = "arvessa";
  static constexpr const char* kName = "Arvessa: two microphones in, one voice out";
  static constexpr std::size_t kInputs = 2;
  static constexpr std::size_t kLongestFrame = ARVESSA_FRAME_SAMPLES;
  static constexpr std::array kPorts = {
      "Microphone 1", "Microphone 2",     "Voice",  "No noise reduction",
      "No AGC",       "Swap microphones", "latency"};
  static constexpr const char* kRates = "8000";
  static bool accepts(unsigned long rate) { return rate == ARVESSA_SAMPLE_RATE; }

  explicit FrontEndStage(int /*rate*/) : frontEnd({}) {}
  void change(std::span<const bool> off) {
    frontEnd.change({.noiseReduction = !off[0], .agc = !off[1], .swap = off[2]});
  }
  void process(std::span<const Word16> in, std::span<Word16> out) {
    frontEnd.process(in.first<std::size_t{2} * ARVESSA_FRAME_SAMPLES>(),
                     out.first<ARVESSA_FRAME_SAMPLES>());
  }
  int latency() const { return frontEnd.latency(); }

  FrontEnd frontEnd;
};

template <class Stage>
class Plugin {
 public:
  // Ports: inputs, the output, switches, the latency.
  static constexpr std::size_t kPorts = Stage::kPorts.size();
  static constexpr std::size_t kOutput = Stage::kInputs;
  static constexpr std::size_t kFirstSwitch = kOutput + 1;
  static constexpr std::size_t kLatency = kPorts - 1;

  explicit Plugin(int rate)
      : rate_(rate), frame_(static_cast<std::size_t>(rate / 100)), stage_(rate) {}

  void connect(std::size_t port, LADSPA_Data* data) { ports_[port] = data; }

  void restart() {
    stage_ = Stage(rate_);
    off_ = {};
    in_ = {};
    out_ = {};
    filled_ = 0;
  }

  void run(unsigned long count) {
    const DefaultFloats floats;
    for (unsigned long i = 0; i < count; ++i) {
      // The output may lie where an input does.
      for (std::size_t input = 0; input < Stage::kInputs; ++input) {
        in_[input * frame_ + filled_] = toPcm(ports_[input][i]);
      }
      ports_[kOutput][i] = static_cast<float>(out_[filled_]) / 32768.0F;
      if (++filled_ == frame_) processFrame();
    }
    *ports_[kLatency] = static_cast<float>(frame_) + static_cast<float>(stage_.latency());
  }

 private:
  void processFrame() {
    std::array<bool, kLatency - kFirstSwitch> off;
    for (std::size_t i = 0; i < off.size(); ++i) off[i] = *ports_[kFirstSwitch + i] > 0.5F;
    if (off != off_) stage_.change(off);
    off_ = off;
    stage_.process(std::span(in_).first(Stage::kInputs * frame_), std::span(out_).first(frame_));
    filled_ = 0;
  }

  int rate_;
  std::size_t frame_;  // samples
  Stage stage_;
  std::array<LADSPA_Data*, kPorts> ports_{};
  std::array<bool, kLatency - kFirstSwitch> off_{};
  alignas(4) std::array<Word16, Stage::kInputs * Stage::kLongestFrame> in_{};
  alignas(4) std::array<Word16, Stage::kLongestFrame> out_{};
  std::size_t filled_ = 0;  // samples of the frame that have come in, and gone out of the last
};

template <class Stage>
LADSPA_Handle instantiate(const LADSPA_Descriptor* /*descriptor*/, unsigned long rate) {
  if (!Stage::accepts(rate)) {
    static_cast<void>(std::fprintf(stderr, "arvessa.so: %s works at %s Hz, not at %lu Hz\n",
                                   Stage::kLabel, Stage::kRates, rate));
    return nullptr;
  }
  return new (std::nothrow) Plugin<Stage>(static_cast<int>(rate));
}

template <class Stage>
Plugin<Stage>* plugin(LADSPA_Handle handle) {
  return static_cast<Plugin<Stage>*>(handle);
}

template <class Stage>
const LADSPA_Descriptor* descriptor() {
  using Made = Plugin<Stage>;
  struct Ports {
    std::array<LADSPA_PortDescriptor, Made::kPorts> kinds;
    std::array<LADSPA_PortRangeHint, Made::kPorts> hints;
  };
  static constexpr Ports ports = [] {
    Ports made{};
    for (std::size_t i = 0; i < Made::kPorts; ++i) {
      const bool isSwitch = i >= Made::kFirstSwitch && i < Made::kLatency;
      made.kinds[i] = (i < Made::kOutput || isSwitch ? LADSPA_PORT_INPUT : LADSPA_PORT_OUTPUT) |
                      (i <= Made::kOutput ? LADSPA_PORT_AUDIO : LADSPA_PORT_CONTROL);
      made.hints[i].HintDescriptor = isSwitch ? LADSPA_HINT_TOGGLED | LADSPA_HINT_DEFAULT_0 : 0;
    }
    return made;
  }();
  static constexpr LADSPA_Descriptor made = {
      .UniqueID = Stage::kId,
      .Label = Stage::kLabel,
      .Properties = LADSPA_PROPERTY_HARD_RT_CAPABLE,
      .Name = Stage::kName,
      .Maker = "Arvessa",
      .Copyright = "Apache-2.0",
      .PortCount = Made::kPorts,
      .PortDescriptors = ports.kinds.data(),
      .PortNames = Stage::kPorts.data(),
      .PortRangeHints = ports.hints.data(),
      .ImplementationData = nullptr,
      .instantiate = instantiate<Stage>,
      .connect_port = [](LADSPA_Handle handle, unsigned long port,
                         LADSPA_Data* data) { plugin<Stage>(handle)->connect(port, data); },
      .activate = [](LADSPA_Handle handle) { plugin<Stage>(handle)->restart(); },
      .run = [](LADSPA_Handle handle, unsigned long count) { plugin<Stage>(handle)->run(count); },
      .run_adding = nullptr,
      .set_run_adding_gain = nullptr,
      .deactivate = nullptr,
      .cleanup =
          [](LADSPA_Handle handle) {
            std::default_delete<Plugin<Stage>>()(plugin<Stage>(handle));
          }};
  return &made;
}

}  // namespace
}  // namespace arvessa::app

extern "C" __attribute__((visibility("default"))) const LADSPA_Descriptor* ladspa_descriptor(
    unsigned long index) {
  using namespace arvessa::app;
  if (index == 0) return descriptor<EngineStage>();
  return index == 1 ? descriptor<FrontEndStage>() : nullptr;
}
