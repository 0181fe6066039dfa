// SPDX-License-Identifier: Apache-2.0
// Time per frame of every case, with Google Benchmark. Only the frames themselves are timed: a
// clock is read before and after each batch of prepared ones.

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdlib>
#include <exception>
#include <iostream>

#include "cases.h"

namespace {

using namespace arvessa::bench;

void measure(benchmark::State& state, const Case& chosen) {
  using Clock = std::chrono::steady_clock;
  const Work work = chosen.make();
  warmUp(work);
  int next = kWarmUp;
  while (state.KeepRunningBatch(kBatch)) {
    runBatches(work, next, kBatch, [&](int first, int count) {
      const auto start = Clock::now();
      for (int i = 0; i < count; ++i) work.run(first + i);
      state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
    });
    next = (next + kBatch) % (1 << 20);
  }
}

}  // namespace

int main(int argc, char** argv) {
  try {
    for (const Case& c : allCases()) {
      benchmark::RegisterBenchmark(c.name.c_str(), measure, c)->UseManualTime();
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return EXIT_FAILURE;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return EXIT_SUCCESS;
  } catch (const std::exception& error) {
    std::cerr << "stages_benchmark: " << error.what() << '\n';
    return EXIT_FAILURE;
  }
}
