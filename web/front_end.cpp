// SPDX-License-Identifier: Apache-2.0
// The front end and the engine for JavaScript: one stream in each instance of the module, and only
// numbers across the border. Samples go through buffers whose addresses JavaScript asks for.
#include "front_end/front_end.h"

#include <algorithm>
#include <optional>

#include "front_end/engine.h"

#define ARVESSA_WEB(name) extern "C" __attribute__((export_name(#name)))

// There is no platform's log here.
// NOLINTNEXTLINE: the platform's name
extern "C" int __android_log_print(int, const char*, const char*, ...) { return 0; }

namespace arvessa::app {
namespace {

alignas(ARVESSA_WORK_ALIGNMENT) std::array<Word16, VORN_MAX_FRAME_SAMPLES> input;
alignas(ARVESSA_WORK_ALIGNMENT) std::array<Word16, VORN_MAX_FRAME_SAMPLES> output;
FrontEndSettings settings;
std::optional<FrontEnd> frontEnd;  // or
std::optional<Engine> engine;
std::size_t frameSamples;
Decision decision;

}  // namespace

ARVESSA_WEB(input) void* inputSamples() { return input.data(); }
ARVESSA_WEB(output) void* outputSamples() { return output.data(); }

// Other beams, before the start: 384 real parts, 384 imaginary ones, at [beam][bin][microphone].
ARVESSA_WEB(beamsReal) void* beamsReal() { return settings.beams.re.data(); }
ARVESSA_WEB(beamsImaginary) void* beamsImaginary() { return settings.beams.im.data(); }

// Two microphones at 8 kHz, one after the other in the input. `heldBeam` is -1 where none is held.
ARVESSA_WEB(startFrontEnd)
void startFrontEnd(bool engineOn, bool noiseReduction, bool agc, bool swap, int heldBeam) {
  settings.engine = engineOn;
  settings.noiseReduction = noiseReduction;
  settings.agc = agc;
  settings.swap = swap;
  if (heldBeam >= 0) settings.heldBeam = heldBeam;
  frontEnd.emplace(settings);
  frameSamples = ARVESSA_FRAME_SAMPLES;
}

// One channel at one of the engine's rates.
ARVESSA_WEB(startEngine) void startEngine(int rate, bool noiseReduction, bool agc) {
  engine.emplace(EngineSettings{.noiseReduction = noiseReduction, .agc = agc}, rate);
  frameSamples = static_cast<std::size_t>(rate) / 100;
}

ARVESSA_WEB(frame) void frame() {
  if (frontEnd) {
    decision = frontEnd->process(std::span(input).first<2 * ARVESSA_FRAME_SAMPLES>(),
                                 std::span(output).first<ARVESSA_FRAME_SAMPLES>());
  } else {
    engine->process(std::span(input).first(frameSamples), std::span(output).first(frameSamples));
  }
}

ARVESSA_WEB(latency) int latency() { return frontEnd ? frontEnd->latency() : engine->latency(); }
ARVESSA_WEB(beam) int beam() { return decision.beam; }
ARVESSA_WEB(voice) int voice() { return decision.voice; }
ARVESSA_WEB(agcIndex) int agcIndex() { return decision.agcIndex; }
ARVESSA_WEB(agcGain) double agcGain() { return decision.agcGain; }
ARVESSA_WEB(floor) double floorLevel() { return decision.floor; }
ARVESSA_WEB(meanSuppression) double meanSuppression() { return decision.meanSuppression; }

}  // namespace arvessa::app
