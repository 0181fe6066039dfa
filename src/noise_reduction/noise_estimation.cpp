// SPDX-License-Identifier: Apache-2.0
#include "noise_reduction/noise_estimation.h"

#include <algorithm>

#include "arithmetic/division.h"
#include "arithmetic/operators.h"
#include "kernels/coefficients.h"

namespace arvessa {
namespace {

constexpr Word16 kMinAlpha = 328;     // 0.01 in Q15
constexpr Word16 kFrameScale = 2000;  // 0.061 in Q15: one in 16.4

// Frames of the minimum search window less one.
std::int32_t windowThreshold(int frame) {
  if (frame <= 99) return 30;
  return frame <= 999 ? 80 : 150;
}

// Makes the minima ready for the smoothed power of this frame, which they take in later. A window
// begins with a minimum of kMax32, above any power. Where one ends, its minimum becomes that of the
// previous window; before the first one that is kMax32, too.
void moveWindow(const NoiseMemory& memory, std::uint16_t frame) {
  const kernels::BinNoise& bins = memory.bins;
  const bool restarts = static_cast<std::int32_t>(memory.windowFrames) > windowThreshold(frame);
  if (frame == 1) {
    std::fill(bins.windowMinimum.begin(), bins.windowMinimum.end(), kMax32);
  }
  if (frame == 1 || restarts) {
    std::copy(bins.windowMinimum.begin(), bins.windowMinimum.end(), bins.minimum.begin());
    std::fill(bins.windowMinimum.begin(), bins.windowMinimum.end(), kMax32);
  }
  if (restarts) memory.windowFrames = 0;
}

}  // namespace

bool isVoice(Word32 smoothTotal, Word32 minimumTotal) {
  return mpy32x16(smoothTotal, kFrameScale) > lAdd(minimumTotal, kernels::kActiveOffset);
}

NoiseEstimate estimateNoise(ConstBlock power, std::uint16_t frame, const NoiseMemory& memory,
                            std::span<unsigned char> active) {
  // The running mean of the first 99 frames, an exponential average after them.
  const auto alpha = static_cast<Word16>(std::max(quotient(kMax16, frame), Word32{kMinAlpha}));
  moveWindow(memory, frame);
  const kernels::NoiseTotals totals = Kernels::trackNoise(power, memory.bins, alpha, active);
  return {isVoice(totals.smooth, totals.minimum), {memory.bins.noise, totals.noiseBits}};
}

}  // namespace arvessa
