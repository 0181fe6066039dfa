#pragma once
// Geometry and state of the voice enhancement engine.

#include "Vorn.h"

namespace arvessa {

inline constexpr int kBands = 24;          // of the filterbank, at every rate
inline constexpr int kMaxBins = 256;       // at 32 kHz
inline constexpr int kMaxFrame = 320;      // samples through the spectral chain, at 32 kHz
inline constexpr int kMaxTransform = 512;  // real points, at 32 kHz
inline constexpr int kMaxFullbandFrame = VORN_MAX_FRAME_SAMPLES;
inline constexpr int kFilterOrder = 10;      // of the band split and synthesis filters
inline constexpr int kUpperBandDelay = 624;  // samples at 48 kHz: one frame and 144 samples
inline constexpr Word16 kFrameCountMax = 32767;

// Frame geometry of the spectral chain: N new samples, K bins (real transform of 2K points), H
// history samples, by which the output lags the input. 2K = H + N + H: the block is history, new
// samples and zeros.
struct Geometry {
  Word16 frame;    // N
  Word16 bins;     // K
  Word16 history;  // H
};

// By rate code: 8, 16, 32 kHz, and 48 kHz, whose low band runs at 16 kHz.
inline constexpr Geometry kGeometry[4] = {
    {80, 64, 24}, {160, 128, 48}, {320, 256, 96}, {160, 128, 48}};

// Samples that VORN_Proc consumes and produces per frame.
constexpr int frameSamples(int rateCode) { return rateCode == 0 ? 80 : 160 * rateCode; }

}  // namespace arvessa

// Everything that the engine remembers between frames. Bytes that the fields do not use hold
// nothing. "Power" is 2 (re^2 + im^2) of the upper halves of the spectrum at the input's scale.
struct WvqeState {
  // Upper band at 48 kHz, already scaled by its frame's mean gain: 144 samples of the frame before
  // last, then 480 of the last one.
  Word16 hbDelay[arvessa::kUpperBandDelay];

  Word32 psdTmpMin[arvessa::kMaxBins];  // minimum of psdSmooth in the current search window
  Word32 psdMin[arvessa::kMaxBins];     // minimum of psdSmooth over this and the previous window
  Word32 psdSmooth[arvessa::kMaxBins];  // power smoothed over time and frequency
  Word32 noisePsd[arvessa::kMaxBins];   // noise power, 7 fraction bits

  Word32 anaHistory[96];  // last H pre-emphasised samples, at the scale of inputExp
  Word32 olaBuffer[192];  // synthesis overlap, 2K - N samples, Q30: half the sample above

  Word32 bandSnrState[arvessa::kBands];  // smoothed clean-speech power of each band
  Word16 bandSmooth[arvessa::kBands];    // smoothed a priori SNR of each band, Q8

  // Filters at 48 kHz; element 0 is the most recent value.
  Word32 splitLpfY[arvessa::kFilterOrder];
  Word32 splitHpfY[arvessa::kFilterOrder];
  Word32 synLpfY[arvessa::kFilterOrder];
  Word16 splitLpfX[arvessa::kFilterOrder];
  Word16 splitHpfX[arvessa::kFilterOrder];
  Word16 synLpfX[arvessa::kFilterOrder];

  uint32_t minWinCount;    // frames since the minimum search window restarted
  Word32 anaMem;           // last sample of the previous frame, at the scale of inputExp
  Word32 deemphMem;        // last output of the de-emphasis filter
  uint16_t frameCountSat;  // frames since initialisation, held at 32767
  Word16 inputExp;         // left shift that normalised the current frame
  Word16 floorLevel;       // depth of the suppression floor, dB, 4..15

  Word32 agcEnvFast;    // peak-hold envelope of the subframe power
  Word32 agcEnvSlow;    // slow envelope of the subframe power
  Word16 agcGainIdx;    // index of the gain in force
  Word16 vadFlag;       // 1 while the frame carries voice
  uint16_t agcUpCount;  // voice frames that asked for more gain
};

static_assert(sizeof(WvqeState) <= VORN_STATE_BYTES);
static_assert(alignof(WvqeState) == VORN_STATE_ALIGNMENT);
