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

ConstBlock trackMinima(const NoiseMemory& memory, std::uint16_t frame) {
  const std::span<const Word32> smooth = memory.smooth;
  if (frame == 1) {
    std::copy(smooth.begin(), smooth.end(), memory.minimum.begin());
    std::copy(smooth.begin(), smooth.end(), memory.windowMinimum.begin());
  }
  if (static_cast<std::int32_t>(memory.windowFrames) > windowThreshold(frame)) {
    memory.windowFrames = 0;
    for (std::size_t k = 0; k < smooth.size(); ++k) {
      memory.minimum[k] = std::min(memory.windowMinimum[k], smooth[k]);
      memory.windowMinimum[k] = smooth[k];
    }
  } else {
    for (std::size_t k = 0; k < smooth.size(); ++k) {
      memory.windowMinimum[k] = std::min(memory.windowMinimum[k], smooth[k]);
      memory.minimum[k] = std::min(memory.minimum[k], smooth[k]);
    }
  }
  return {memory.minimum, usedBits(memory.minimum)};
}

}  // namespace

bool isVoice(ConstBlock smooth, ConstBlock minimum) {
  return mpy32x16(Kernels::sum(smooth), kFrameScale) >
         lAdd(Kernels::sum(minimum), kernels::kActiveOffset);
}

NoiseEstimate estimateNoise(ConstBlock power, std::uint16_t frame, const NoiseMemory& memory,
                            std::span<unsigned char> active) {
  // The running mean of the first 99 frames, an exponential average after them.
  const auto alpha = static_cast<Word16>(std::max(quotient(kMax16, frame), Word32{kMinAlpha}));
  Block smooth = {memory.smooth};
  smooth.bits = Kernels::smoothPower(smooth, power);
  const ConstBlock minimum = trackMinima(memory, frame);
  Kernels::findActiveBins(smooth, minimum, active);
  const UsedBits noiseBits = Kernels::updateNoise({memory.noise}, power, active, alpha);
  return {isVoice(smooth, minimum), {memory.noise, noiseBits}};
}

}  // namespace arvessa
