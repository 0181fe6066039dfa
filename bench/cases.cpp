// SPDX-License-Identifier: Apache-2.0
#include "cases.h"

#include "noise_reduction/geometry.h"

namespace arvessa::bench {

const std::vector<Case>& allCases() {
  static const std::vector<Case> cases = [] {
    std::vector<Case> table;
    table.push_back({kEmptyCase, [] { return Work{{}, [](int) {}}; }});
    addBeamformerCases(table);
    addNoiseReductionCases(table);
    addAgcCases(table);
    addNumericCases(table);
    addWholeFrameCases(table);
#ifdef ARVESSA_BENCH_SPEEXDSP
    addSpeexDspCase(table);
#endif
    return table;
  }();
  return cases;
}

std::string rateSuffix(int rateCode) {
  return std::string("/").append(std::to_string(kRates[rateCode].samples / 10)).append("k");
}

void warmUp(const Work& work) {
  runBatches(work, 0, kWarmUp, [&](int first, int count) {
    for (int i = 0; i < count; ++i) work.run(first + i);
  });
}

}  // namespace arvessa::bench
