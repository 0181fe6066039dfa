// SPDX-License-Identifier: Apache-2.0
// arvessa info: what this build is and what it needs.

#include <CLI/CLI.hpp>
#include <iostream>

#include "Arvessa.h"
#include "Vorn.h"
#include "commands/commands.h"
#include "commands/text.h"
#include "front_end/engine.h"

// Asking for the version logs a line; here the answer is printed instead.
// NOLINTNEXTLINE(bugprone-reserved-identifier,cert-*): the platform's name
extern "C" ARVESSA_API int __android_log_print(int /*priority*/, const char* /*tag*/,
                                               const char* /*format*/, ...) {
  return 0;
}

namespace arvessa::app {
namespace {

double milliseconds(int samples, int rate) { return 1000.0 * samples / rate; }

int runInfo() {
  constexpr int kRate = ARVESSA_SAMPLE_RATE;
  std::cout << "command        " << ARVESSA_VERSION << '\n'
            << "library        " << Arvessa_GetVer() << '\n'
            << "engine         " << VORN_GetVer() << '\n'
            << "target         " << ARVESSA_TARGET << ", compiler " << __VERSION__ << '\n'
            << "front end      " << kRate << " Hz, two microphones in, one channel out, "
            << ARVESSA_FRAME_SAMPLES << " samples a frame\n"
            << "  latency      " << ARVESSA_BEAM_LATENCY << " samples ("
            << milliseconds(ARVESSA_BEAM_LATENCY, kRate) << " ms) beamformer, "
            << ARVESSA_ENGINE_LATENCY << " samples (" << milliseconds(ARVESSA_ENGINE_LATENCY, kRate)
            << " ms) with the engine\n"
            << "  work buffer  " << ARVESSA_WORK_BYTES << " bytes, aligned to "
            << ARVESSA_WORK_ALIGNMENT << '\n'
            << "engine alone   one channel per state\n";
  for (const int rate : kEngineRates) {
    const int latency = engineLatencyAt(rate);
    std::cout << "  " << rate << " Hz" << (rate < 10000 ? "      " : "     ") << rate / 100
              << " samples a frame, latency " << latency << " samples ("
              << fixed(milliseconds(latency, rate), 1) << " ms)\n";
  }
  std::cout << "  state        " << VORN_STATE_BYTES << " bytes, aligned to "
            << VORN_STATE_ALIGNMENT << '\n';
  return 0;
}

}  // namespace

void addInfo(CLI::App& app, Run& run) {
  CLI::App* command =
      app.add_subcommand("info", "Versions, rates, latencies, buffer sizes, build target");
  command->footer("Example:\n  arvessa info");
  command->callback([&run] { run = runInfo; });
}

}  // namespace arvessa::app
