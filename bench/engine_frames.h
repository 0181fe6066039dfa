// SPDX-License-Identifier: Apache-2.0
#pragma once
// What the stages of the engine meet while it enhances noisy speech: the inputs with which each
// stage is measured alone.

#include <array>
#include <vector>

#include "noise_reduction/pipeline.h"

namespace arvessa::bench {

using Words = std::vector<Word32>;

// A block with the bound of its words.
struct BoundedWords {
  Words words;
  UsedBits bits = kAllBits;

  [[nodiscard]] ConstBlock view() const { return {words, bits}; }
};

// By the stage that takes it.
struct EngineFrame {
  std::vector<Word16> samples;  // analysis
  Words block;                  // forward transform
  UsedBits blockBits;
  BoundedWords power;                    // noise estimation, filterbank
  std::array<Word32, kBands> bandPower;  // SNR estimation and gains
  std::array<Word32, kBands> bandNoise;
  std::array<Word16, kBands> posteriorSnr;
  std::array<Word16, kBands> priorSnr;
  Words suppressed;         // normalisation
  BoundedWords normalised;  // inverse transform
  Words transformed;        // overlap-add and output filter
  Word16 exponent;
};

struct EngineFrames {
  std::vector<EngineFrame> frames;  // consecutive
  NoiseReductionState state;        // after the last of them

  [[nodiscard]] const EngineFrame& operator[](int frame) const {
    return frames[static_cast<unsigned>(frame) % frames.size()];
  }
};

// Frames from the middle of the recording, at any rate without a band split.
EngineFrames captureEngineFrames(int rateCode);

}  // namespace arvessa::bench
