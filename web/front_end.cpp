// SPDX-License-Identifier: Apache-2.0
// The front end and the engine for JavaScript: one stream in each instance of the module, and only
// numbers across the border. Samples go through buffers whose addresses JavaScript asks for.
#include "front_end/front_end.h"

#include <array>
#include <optional>

#include "front_end/engine.h"

#define ARVESSA_WEB(name) extern "C" __attribute__((export_name(#name)))

// There is no platform's log here.
// NOLINTNEXTLINE: the platform's name
extern "C" int __android_log_print(int /*priority*/, const char* /*tag*/, const char* /*format*/,
                                   ...) {
  return 0;
}

namespace arvessa::app {
namespace {

alignas(ARVESSA_WORK_ALIGNMENT) std::array<Word16, VORN_MAX_FRAME_SAMPLES> input;
alignas(ARVESSA_WORK_ALIGNMENT) std::array<Word16, VORN_MAX_FRAME_SAMPLES> output;
std::array<float, std::size_t{kBeams} * kBeamBlock> real;
std::array<float, real.size()> imaginary;

std::optional<FrontEnd> frontEnd;
std::optional<Engine> engine;  // where there is no front end
std::size_t engineFrame;
Decision decision;

}  // namespace

ARVESSA_WEB(input) void* inputSamples() { return input.data(); }
ARVESSA_WEB(output) void* outputSamples() { return output.data(); }

// Where other beams go before the start: 384 weights, at [beam][bin][microphone].
ARVESSA_WEB(realWeights) void* realWeights() { return real.data(); }
ARVESSA_WEB(imaginaryWeights) void* imaginaryWeights() { return imaginary.data(); }

// Two microphones at 8 kHz, one after the other in the input. No beam is held if `heldBeam` is -1.
ARVESSA_WEB(startFrontEnd)
void startFrontEnd(bool engineOn, bool noiseReduction, bool agc, bool swap, int heldBeam,
                   bool otherBeams) {
  FrontEndSettings settings = {
      .engine = engineOn, .noiseReduction = noiseReduction, .agc = agc, .swap = swap};
  if (heldBeam >= 0) settings.heldBeam = heldBeam;
  if (otherBeams) settings.beams = {real.data(), imaginary.data()};
  frontEnd.emplace(settings);
}

// One channel at one of the engine's rates.
ARVESSA_WEB(startEngine) void startEngine(int rate, bool noiseReduction, bool agc) {
  engine.emplace(EngineSettings{.noiseReduction = noiseReduction, .agc = agc}, rate);
  engineFrame = static_cast<std::size_t>(rate) / 100;
}

ARVESSA_WEB(frame) void frame() {
  if (frontEnd) {
    decision = frontEnd->process(std::span(input).first<2 * ARVESSA_FRAME_SAMPLES>(),
                                 std::span(output).first<ARVESSA_FRAME_SAMPLES>());
  } else {
    decision =
        engine->process(std::span(input).first(engineFrame), std::span(output).first(engineFrame));
  }
}

// Samples by which the output lags, and what was decided in the last frame.
ARVESSA_WEB(latency) int latency() { return frontEnd ? frontEnd->latency() : engine->latency(); }
ARVESSA_WEB(beam) int beam() { return decision.beam; }
ARVESSA_WEB(voice) int voice() { return decision.voice; }
ARVESSA_WEB(agcIndex) int agcIndex() { return decision.agcIndex; }
ARVESSA_WEB(agcGain) double agcGain() { return decision.agcGain; }
ARVESSA_WEB(floorLevel) double floorLevel() { return decision.floor; }
ARVESSA_WEB(meanSuppression) double meanSuppression() { return decision.meanSuppression; }

}  // namespace arvessa::app
