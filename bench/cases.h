// SPDX-License-Identifier: Apache-2.0
#pragma once
// The table of everything that is measured: one case per stage and switch setting. The programs
// frame_cost and stages_benchmark share it, so that instructions and nanoseconds are of the same
// work.

#include <array>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace arvessa::bench {

// Frames that may be prepared before the first of them runs.
inline constexpr int kBatch = 16;

// Frames that run before the measurement: the running mean of the noise estimate covers the first
// hundred, and beams change freely in the first 64.
inline constexpr int kWarmUp = 128;

// The work of a case, frame by frame, in the order of the frames. `prepare`, which may be empty, is
// not measured; it brings back what the frame `kBatch` earlier has overwritten.
struct Work {
  std::function<void(int frame)> prepare;
  std::function<void(int frame)> run;
};

struct Case {
  std::string name;
  std::function<Work()> make;
};

// Does nothing: what it costs is the cost of measuring.
inline constexpr const char* kEmptyCase = "empty";

const std::vector<Case>& allCases();

// A whole frame with another input (hard_signals.h); nothing if there is no whole frame of that name.
std::optional<Case> caseOfRecipe(std::string_view name, std::string_view recipe);

// The parts of the table, in the order of the signal path.
void addBeamformerCases(std::vector<Case>& cases);
void addNoiseReductionCases(std::vector<Case>& cases);
void addAgcCases(std::vector<Case>& cases);
void addNumericCases(std::vector<Case>& cases);
void addWholeFrameCases(std::vector<Case>& cases);
void addSpeexDspCase(std::vector<Case>& cases);  // only where the library was found

// "/8k", "/16k" and so on, by rate code.
std::string rateSuffix(int rateCode);

// Prepares and runs the frames first .. first + count - 1, calling `measured` with every batch of
// prepared ones: measured(first frame, count).
template <class Measured>
void runBatches(const Work& work, int first, int count, Measured measured) {
  while (count > 0) {
    const int batch = count < kBatch ? count : kBatch;
    for (int i = 0; work.prepare && i < batch; ++i) work.prepare(first + i);
    measured(first, batch);
    first += batch;
    count -= batch;
  }
}

void warmUp(const Work& work);

// One object per frame of a batch.
template <class T>
class Slots {
 public:
  T& operator[](int frame) { return slots_[static_cast<unsigned>(frame) % kBatch]; }

 private:
  std::array<T, kBatch> slots_{};
};

}  // namespace arvessa::bench
