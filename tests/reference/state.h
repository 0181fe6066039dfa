// SPDX-License-Identifier: Apache-2.0
// Records: the engine's configuration and state, the caller's configuration
// and the work buffer of the front end. Only the field names are meant to agree with the library;
// sizes and layout are the reference's own, except for the limits that callers must meet.
#pragma once

#include <cstdint>

#include "reference/arithmetic.h"

namespace reference {

inline constexpr Word32 kEngineBytes = 7888;
inline constexpr Word32 kWorkBytes = 8132;
inline constexpr int kBands = 24;

struct WvqeState {
  Word16 hbDelay[624];
  Word32 psdTmpMin[256];
  Word32 psdMin[256];
  Word32 psdSmooth[256];
  Word32 noisePsd[256];  // 7 more fraction bits than the power
  Word32 anaHistory[96];
  Word32 olaBuffer[192];
  Word32 bandSnrState[kBands];
  Word16 bandSmooth[kBands];  // Q8
  Word32 splitLpfY[10];
  Word32 splitHpfY[10];
  Word32 synLpfY[10];
  Word16 splitLpfX[10];
  Word16 splitHpfX[10];
  Word16 synLpfX[10];
  std::uint32_t minWinCount;
  Word32 anaMem;
  Word32 deemphMem;
  std::uint16_t frameCountSat;
  Word16 inputExp;
  Word16 floorLevel;  // dB
  Word32 agcEnvFast;
  Word32 agcEnvSlow;
  Word16 agcGainIdx;
  Word16 vadFlag;
  std::uint16_t agcUpCount;
};

struct VornConfig {
  WvqeState* pState;
  Word32 stateSize;
  Word16 checkValue;
  std::uint8_t rateCode;
  std::uint8_t nrEnable;
  std::uint8_t agcEnable;
  std::uint8_t agcTableSel;
};

struct ArvessaState {
  WvqeState engine;
  Word16 mic1History[24];
  Word16 mic2History[24];
  float beamOverlap[24];
  float beamEnergy[3];
  std::uint32_t frameCount;
  Word16 beamSelected;
  Word16 beamPending;
  Word16 beamConfirm;
  VornConfig vornConfig;
};

struct ArvessaConfig {
  ArvessaState* pWork;
  Word32 workSize;
  std::uint8_t rateCode;
  std::uint8_t nrEnable;
  std::uint8_t engineEnable;
};

}  // namespace reference
