// SPDX-License-Identifier: Apache-2.0
// What the tests of the engine's stages share: states of the library and of the reference with the
// same content, and results of both side by side.
#pragma once

#include <algorithm>

#include "abi/engine_state.h"
#include "abi/exported_stages.h"
#include "noise_reduction/tables.h"
#include "reference/engine.h"
#include "support/support.h"

namespace arvessa::test {

static_assert(sizeof(::WvqeState) == sizeof(reference::WvqeState), "same fields, same order");

// The library's array and the reference's.
template <class T, std::size_t kSize>
struct Both {
  T library[kSize] = {};
  T wanted[kSize] = {};

  template <class Draw>
  void set(Draw draw) {
    std::generate(library, library + kSize, draw);
    std::copy(library, library + kSize, wanted);
  }
  void expectSame(const char* what, std::size_t n = kSize) const {
    expectSameArray(library, wanted, n, what);
  }
};

// Two states with the same random content within the fields' ranges.
struct States {
  explicit States(Random& random) {
    VQE_Init(&library);
    for (Word32* field : {library.noiseReduction.psdTmpMin, library.noiseReduction.psdMin,
                          library.noiseReduction.psdSmooth, library.noiseReduction.noisePsd}) {
      std::generate(field, field + 256, [&] { return random.anyMagnitude(); });
    }
    random.fill(library.noiseReduction.anaHistory, 96, 31);
    random.fill(library.noiseReduction.olaBuffer, 192, 31);
    for (Word32& x : library.noiseReduction.bandSnrState) {
      x = random.below(8) == 0 ? 2147483647 - random.below(1 << random.below(25))
                               : random.anyMagnitude();
    }
    for (Word16& x : library.noiseReduction.bandSmooth) x = random.from(0, 25600);
    library.noiseReduction.anaMem = random.word32();
    library.noiseReduction.deemphMem = random.word32();
    library.noiseReduction.inputExp = random.from(-10, 29);
    library.noiseReduction.floorLevel = random.from(0, 17);
    library.noiseReduction.frameCountSat = random.from(1, random.below(3) == 0 ? 3 : 32767);
    library.noiseReduction.minWinCount = static_cast<std::uint32_t>(random.below(160));
    library.agc.agcEnvFast = random.anyMagnitude();
    library.agc.agcEnvSlow = random.anyMagnitude();
    library.agc.agcGainIdx = random.from(0, 31);
    library.agc.agcUpCount = random.from(0, 201);
    library.agc.vadFlag = random.from(0, 1);
    copy();
  }
  // After a change of the library's.
  void copy() { std::memcpy(&wanted, &library, sizeof library); }
  void expectSame(const char* what) const {
    EXPECT_EQ(std::memcmp(&library, &wanted, sizeof library), 0) << "state after " << what;
  }

  ::WvqeState library;
  reference::WvqeState wanted;
};

struct Bank {
  const Word32* left;
  const Word16* filterLeft;
  const Word32* right;
  const Word16* filterRight;
};
inline Bank bankOf(int bins) {
#define BANK(rate)                                                               \
  Bank {                                                                         \
    WVQE_CONST_TABLE_BANK_LEFT_##rate, WVQE_CONST_TABLE_FILTER_LEFT_##rate,      \
        WVQE_CONST_TABLE_BANK_RIGHT_##rate, WVQE_CONST_TABLE_FILTER_RIGHT_##rate \
  }
  return bins == 64 ? BANK(8K) : bins == 128 ? BANK(16K) : BANK(32K);
#undef BANK
}

}  // namespace arvessa::test
