// SPDX-License-Identifier: Apache-2.0
// Engine states of the library and of the reference with the same content, and filterbanks.
#pragma once

#include "abi/engine_state.h"
#include "abi/exported_stages.h"
#include "noise_reduction/tables.h"
#include "reference/engine.h"
#include "support/side_by_side.h"

namespace arvessa::test {

static_assert(sizeof(::WvqeState) == sizeof(reference::WvqeState), "same fields, same order");

// Two states with the same random content within the fields' ranges.
struct States {
  explicit States(Random& random) {
    VQE_Init(&library);
    NoiseReductionState& nr = library.noiseReduction;
    for (Word32* field : {nr.psdTmpMin, nr.psdMin, nr.psdSmooth, nr.noisePsd}) {
      std::generate(field, field + 256, [&] { return random.anyMagnitude(); });
    }
    random.fill(nr.anaHistory, 96, 31);
    random.fill(nr.olaBuffer, 192, 31);
    for (Word32& x : nr.bandSnrState) {
      x = random.below(8) == 0 ? kMax32 - random.below(1 << random.below(25))
                               : random.anyMagnitude();
    }
    for (Word16& x : nr.bandSmooth) x = random.from(0, 25600);
    nr.anaMem = random.word32();
    nr.deemphMem = random.word32();
    nr.inputExp = random.from(-10, 29);
    nr.floorLevel = random.from(0, 17);
    nr.frameCountSat = random.from(1, random.below(3) == 0 ? 3 : 32767);
    nr.minWinCount = static_cast<std::uint32_t>(random.below(160));
    library.agc = {random.anyMagnitude(), random.anyMagnitude(), random.from(0, 31),
                   random.from(0, 1), static_cast<std::uint16_t>(random.from(0, 201))};
    copy();
  }
  // After a change of the library's.
  void copy() { std::memcpy(&wanted, &library, sizeof library); }

  ::WvqeState library;
  reference::WvqeState wanted;
};

inline ::WvqeState* ofLibrary(States& states) { return &states.library; }
inline reference::WvqeState* ofReference(States& states) { return &states.wanted; }
inline void expectSameContent(States& states) {
  EXPECT_EQ(std::memcmp(&states.library, &states.wanted, sizeof states.library), 0) << "state";
}

struct Bank {
  const Word32* left;
  const Word16* filterLeft;
  const Word32* right;
  const Word16* filterRight;
};
inline Bank bankOf(int bins) {
  const kernels::Filterbank bank = geometryOf(sizeCodeOf(2 * bins)).bank;
  return {bank.lower.data(), bank.lowerWeight.data(), bank.upper.data(), bank.upperWeight.data()};
}

}  // namespace arvessa::test
