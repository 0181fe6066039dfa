#pragma once
// What passes between the stages of the engine while it enhances noisy speech: the inputs with
// which each stage is measured alone.

#include <array>
#include <vector>

#include "engine/engine_state.h"

namespace arvessa::bench {

// The tables of a transform size, 8, 16 or 32 kHz by size code.
struct SizeTables {
  const Word16* twiddles;
  const Word16* rearranged;
  const Word16* window;
  const Word32* bankLeft;
  const Word32* bankRight;
  const Word16* filterLeft;
  const Word16* filterRight;
};
SizeTables sizeTables(int sizeCode);

using FrameWords = std::array<Word32, kMaxFrame>;
using Block = std::array<Word32, kMaxTransform>;
using BinPowers = std::array<Word32, kMaxBins>;
using BandPowers = std::array<Word32, kBands>;
using BandSnrs = std::array<Word16, kBands>;

struct EngineFrame {
  FrameWords analysisInput;  // samples in the upper halves
  Block timeBlock;           // normalised and windowed, before the forward transform
  Block spectrum;            // after it
  Word16 inputExp;           // the block's normalising shift
  BinPowers powerSpec;
  BandPowers bandPower;
  BandPowers bandNoise;
  BandSnrs postSnr;
  BandSnrs priorSnr;
  Block suppressed;   // spectrum after the gains
  Block normalised;   // the same before the inverse transform
  Block synthesised;  // after it
  Word16 denormShift;
  Block restored;  // at the input's scale, before the overlap-add
};

struct EngineFrames {
  std::vector<EngineFrame> frames;  // consecutive
  WvqeState state;                  // after the last of them

  [[nodiscard]] const EngineFrame& operator[](int frame) const {
    return frames[static_cast<unsigned>(frame) % frames.size()];
  }
};

// Frames from the middle of the recording, 8, 16 or 32 kHz by size code.
EngineFrames captureEngineFrames(int sizeCode);

}  // namespace arvessa::bench
