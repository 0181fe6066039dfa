#include "engine/noise_estimation.h"

#include <algorithm>
#include <numeric>

#include "fixedpoint/block_float.h"
#include "fixedpoint/division.h"
#include "fixedpoint/lanes.h"
#include "fixedpoint/operators.h"

namespace arvessa {
namespace {

constexpr Word16 kMinAlpha = 328;     // 0.01 in Q15
constexpr Word32 kPowerOffset = 20;   // keeps the tests quiet in silence
constexpr Word16 kBinScale = 10158;   // 0.31: one in 3.2
constexpr Word16 kFrameScale = 2000;  // 0.061: one in 16.4
constexpr Word16 kNoiseBits = 7;      // extra fraction bits of the noise estimate

// Frames of the minimum search window less one, by the frames since initialisation.
std::int32_t windowThreshold(int frame) {
  if (frame <= 99) return 30;
  return frame <= 999 ? 80 : 150;
}

// `bits`: as usedBits gives them.
Word32 saturatingSum(const Word32* values, int n, std::uint32_t bits) {
  // The sum of 512 words of this size cannot leave the range.
  if (n <= 512 && bits < (1U << 22)) return std::accumulate(values, values + n, 0);
  return std::accumulate(values, values + n, 0, lAdd);
}

void trackMinima(WvqeState& state, int bins) {
  const Word32* smooth = state.psdSmooth;
  if (state.frameCountSat == 1) {
    std::copy(smooth, smooth + bins, state.psdMin);
    std::copy(smooth, smooth + bins, state.psdTmpMin);
  }
  if (static_cast<std::int32_t>(state.minWinCount) > windowThreshold(state.frameCountSat)) {
    state.minWinCount = 0;
    for (int k = 0; k < bins; ++k) {
      state.psdMin[k] = std::min(state.psdTmpMin[k], smooth[k]);
      state.psdTmpMin[k] = smooth[k];
    }
    return;
  }
  for (int k = 0; k < bins; ++k) {
    state.psdTmpMin[k] = std::min(state.psdTmpMin[k], smooth[k]);
    state.psdMin[k] = std::min(state.psdMin[k], smooth[k]);
  }
}

}  // namespace
}  // namespace arvessa

extern "C" {

void WVQE_Noise_Vad(WvqeState* state, int K, const Word32* powerSpec, unsigned char* binActive) {
  using namespace arvessa;
  // The running mean of the first 99 frames, an exponential average after them.
  const auto alpha =
      static_cast<Word16>(std::max(quotient(32767, state->frameCountSat), Word32{kMinAlpha}));
  VORN_WVQE_Noise_Vad1_ASM(state->psdSmooth, powerSpec, K);
  trackMinima(*state, K);
  VORN_WVQE_Noise_Vad2_ASM(state->psdSmooth, state->psdMin, binActive, &state->vadFlag,
                           static_cast<Word16>(K));
  VORN_WVQE_Noise_Vad3_ASM(powerSpec, state->noisePsd, binActive, alpha, static_cast<Word16>(K));
}

void VORN_WVQE_Noise_Vad1_ASM(Word32* psdSmooth, const Word32* powerSpec, int K) {
  using namespace arvessa;
  constexpr Word16 kOld = 26214;    // 0.8 in Q15
  constexpr Word16 kEdge = 6554;    // 0.2
  constexpr Word16 kCentre = 3277;  // 0.1
  constexpr Word16 kSide = 1638;    // 0.05
  // The weights of a bin add up to 1 at the most, so no sum can saturate.
  psdSmooth[0] = mpy32x16(psdSmooth[0], kOld) + mpy32x16(powerSpec[0], kEdge);
  int k = 1;
  if (kHaveLanes && hasLaneHeadroom(usedBits(psdSmooth, K) | usedBits(powerSpec, K))) {
    const Factors old = splatFactor(kOld);
    const Factors side = splatFactor(kSide);
    const Factors centre = splatFactor(kCentre);
    for (; k + 4 < K; k += 4) {
      const Lanes below = mulQ15(loadLanes(powerSpec + k - 1), side);
      const Lanes above = mulQ15(loadLanes(powerSpec + k + 1), side);
      storeLanes(psdSmooth + k, mulQ15(loadLanes(psdSmooth + k), old) + below +
                                    mulQ15(loadLanes(powerSpec + k), centre) + above);
    }
  }
  for (; k < K - 1; ++k) {
    psdSmooth[k] = (mpy32x16(psdSmooth[k], kOld) + mpy32x16(powerSpec[k - 1], kSide)) +
                   (mpy32x16(powerSpec[k], kCentre) + mpy32x16(powerSpec[k + 1], kSide));
  }
  psdSmooth[K - 1] = mpy32x16(psdSmooth[K - 1], kOld) + mpy32x16(powerSpec[K - 1], kEdge);
}

void VORN_WVQE_Noise_Vad2_ASM(const Word32* psdSmooth, const Word32* psdMin,
                              unsigned char* binActive, Word16* vadFlag, Word16 K) {
  using namespace arvessa;
  const std::uint32_t smoothBits = usedBits(psdSmooth, K);
  const std::uint32_t minBits = usedBits(psdMin, K);
  int k = 0;
  if (kHaveLanes && hasLaneHeadroom(smoothBits | minBits)) {
    const Factors scale = splatFactor(kBinScale);
    for (; k + 4 <= K; k += 4) {
      const Lanes scaled = mulQ15(loadLanes(psdSmooth + k), scale);
      storeFlags(binActive + k, scaled > loadLanes(psdMin + k) + kPowerOffset);
    }
  }
  for (; k < K; ++k) {
    binActive[k] = mpy32x16(psdSmooth[k], kBinScale) > lAdd(psdMin[k], kPowerOffset) ? 1 : 0;
  }
  const Word32 smoothSum = saturatingSum(psdSmooth, K, smoothBits);
  const Word32 minSum = saturatingSum(psdMin, K, minBits);
  *vadFlag = mpy32x16(smoothSum, kFrameScale) > lAdd(minSum, kPowerOffset) ? 1 : 0;
}

void VORN_WVQE_Noise_Vad3_ASM(const Word32* powerSpec, Word32* noisePsd,
                              const unsigned char* binActive, Word16 alpha, Word16 K) {
  using namespace arvessa;
  const Word16 oldWeight = low16(32767 - alpha);
  int k = 0;
  // Without saturation in the shift; the sum has headroom for any weights.
  if (kHaveLanes && usedBits(powerSpec, K) < (1U << 22) && usedBits(noisePsd, K) < (1U << 29)) {
    const Factors fresh = splatFactor(alpha);
    const Factors old = splatFactor(oldWeight);
    for (; k + 4 <= K; k += 4) {
      const Lanes noise = loadLanes(noisePsd + k);
      const Lanes power = loadLanes(powerSpec + k);
      const Lanes keep = loadFlags(binActive + k) & ((noise >> kNoiseBits) <= power);
      const Lanes update = mulQ15(power << kNoiseBits, fresh) + mulQ15(noise, old);
      storeLanes(noisePsd + k, (noise & keep) | (update & (update > 0) & ~keep));
    }
  }
  for (; k < K; ++k) {
    const Word32 noise = noisePsd[k];
    const Word32 power = powerSpec[k];
    if (binActive[k] != 0 && (noise >> kNoiseBits) <= power) continue;
    const Word32 update =
        lAdd(mpy32x16(lShl(power, kNoiseBits), alpha), mpy32x16(noise, oldWeight));
    noisePsd[k] = std::max(update, 0);
  }
}

}  // extern "C"
