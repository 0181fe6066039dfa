// SPDX-License-Identifier: Apache-2.0
#pragma once
// What the noise reduction remembers between frames, and the parts of it that each stage is given.

#include <cstddef>

#include "noise_reduction/analysis.h"
#include "noise_reduction/band_split.h"
#include "noise_reduction/geometry.h"
#include "noise_reduction/noise_estimation.h"
#include "noise_reduction/suppression_gain.h"

namespace arvessa {

inline constexpr Word16 kFrameCountMax = 32767;

// "Power" is 2 (re^2 + im^2) of the upper halves of the spectrum at the input's scale.
struct NoiseReductionState {
  // Upper band at 48 kHz, already scaled by its frame's mean gain: 144 samples of the frame before
  // last, then 480 of the last one.
  Word16 hbDelay[kUpperBandDelay];

  Word32 psdTmpMin[kMaxBins];  // minimum of psdSmooth in the current search window
  Word32 psdMin[kMaxBins];     // minimum of psdSmooth over this and the previous window
  Word32 psdSmooth[kMaxBins];  // power smoothed over time and frequency
  Word32 noisePsd[kMaxBins];   // noise power, 7 fraction bits

  Word32 anaHistory[kMaxHistory];  // last H pre-emphasised samples, at the scale of inputExp
  Word32 olaBuffer[kMaxOverlap];   // synthesis overlap, 2K - N samples, Q30: half the sample above

  Word32 bandSnrState[kBands];  // smoothed clean-speech power of each band
  Word16 bandSmooth[kBands];    // smoothed a priori SNR of each band, Q8

  // Filters at 48 kHz; element 0 is the most recent value.
  Word32 splitLpfY[kFilterOrder];
  Word32 splitHpfY[kFilterOrder];
  Word32 synLpfY[kFilterOrder];
  Word16 splitLpfX[kFilterOrder];
  Word16 splitHpfX[kFilterOrder];
  Word16 synLpfX[kFilterOrder];

  std::uint32_t minWinCount;    // frames since the minimum search window restarted
  Word32 anaMem;                // last sample of the previous frame, at the scale of inputExp
  Word32 deemphMem;             // last output of the de-emphasis filter
  std::uint16_t frameCountSat;  // frames since initialisation, held at 32767
  Word16 inputExp;              // left shift that normalised the current frame
  Word16 floorLevel;            // depth of the suppression floor, dB, 4..15
};

void initialise(NoiseReductionState& state);

// Before every frame: the first one has the number 1.
inline void countFrame(NoiseReductionState& state) {
  if (state.frameCountSat < kFrameCountMax) ++state.frameCountSat;
  ++state.minWinCount;
}

inline AnalysisMemory analysisMemory(NoiseReductionState& s, const Geometry& g) {
  return {std::span(s.anaHistory).first(static_cast<std::size_t>(g.history)), s.anaMem, s.inputExp};
}

inline NoiseMemory noiseMemory(NoiseReductionState& s, int bins) {
  const auto k = static_cast<std::size_t>(bins);
  return {{std::span(s.psdTmpMin).first(k), std::span(s.psdMin).first(k),
           std::span(s.psdSmooth).first(k), std::span(s.noisePsd).first(k)},
          s.minWinCount};
}

inline GainMemory gainMemory(NoiseReductionState& s) {
  return {s.bandSnrState, s.bandSmooth, s.floorLevel};
}

inline BandSplitMemory bandSplitMemory(NoiseReductionState& s) {
  return {{s.splitLpfX, s.splitLpfY}, {s.splitHpfX, s.splitHpfY}, {s.synLpfX, s.synLpfY}};
}

}  // namespace arvessa
