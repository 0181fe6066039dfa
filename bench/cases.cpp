// SPDX-License-Identifier: Apache-2.0
#include "cases.h"

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

const char* rateSuffix(int rateCode) {
  constexpr std::array<const char*, 4> kSuffixes = {"/8k", "/16k", "/32k", "/48k"};
  return kSuffixes.at(static_cast<std::size_t>(rateCode));
}

void warmUp(const Work& work) {
  runBatches(work, 0, kWarmUp, [&](int first, int count) {
    for (int i = 0; i < count; ++i) work.run(first + i);
  });
}

}  // namespace arvessa::bench
