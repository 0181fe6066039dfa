// SPDX-License-Identifier: Apache-2.0
#pragma once
// Spectral analysis of a frame: normalisation, pre-emphasis, overlap with the previous frame,
// window, transform, power per bin and per band.

#include "noise_reduction/geometry.h"

namespace arvessa {

struct AnalysisMemory {
  std::span<Word32> history;  // last H pre-emphasised samples, at the scale of `exponent`
  Word32& last;               // last sample before the pre-emphasis, at the same scale
  Word16& exponent;           // left shift that normalised the frame
};

// Where the stage writes.
struct AnalysisBlocks {
  std::span<Word32> time;      // 2K, work area
  std::span<Word32> spectrum;  // 2K
  std::span<Word32> power;     // K
  std::span<Word32, kBands> bandPower;
};

struct Analysis {
  Block spectrum;    // packed, with the frame's exponent; bins 0, 1 and K are 0
  ConstBlock power;  // by bin, at the input's scale; bins 0 and 1 are 0
};

// `frame`: N samples, normalised to kAnalysisHeadroom bits of headroom.
inline constexpr Word16 kAnalysisHeadroom = 6;
Analysis analyse(const Geometry& geometry, ConstBlock frame, const AnalysisMemory& memory,
                 const AnalysisBlocks& blocks);

// The windowed block of 2K words: history, the new samples pre-emphasised, zeros. History and
// memory move on. `scaleChange`: the left shift that brings them to the scale of `frame`.
Block framed(const Geometry& geometry, ConstBlock frame, Word16 scaleChange,
             const AnalysisMemory& memory, std::span<Word32> time);

}  // namespace arvessa
