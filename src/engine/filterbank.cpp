#include "engine/filterbank.h"

#include <algorithm>

#include "engine/engine_state.h"
#include "fixedpoint/operators.h"

extern "C" {

void WVQE_Spectrum_Bank(const Word32* binPower, Word32* bandOut, const Word32* bankLeft,
                        const Word32* bankRight, const Word16* filterLeft,
                        const Word16* filterRight, Word16 K) {
  using namespace arvessa;
  std::fill(bandOut, bandOut + kBands, 0);
  for (int k = 0; k < K; ++k) {
    Word32& left = bandOut[bankLeft[k]];
    left = lAdd(left, mpy32x16(binPower[k], filterLeft[k]));
    Word32& right = bandOut[bankRight[k]];
    right = lAdd(right, mpy32x16(binPower[k], filterRight[k]));
  }
}

void WVQE_Spectrum_PSD(Word16* binOut, const Word16* filterLeft, const Word16* filterRight,
                       const Word32* bankLeft, const Word32* bankRight, const Word16* bandValues,
                       Word16 K) {
  using namespace arvessa;
  for (int k = 0; k < K; ++k) {
    const Word32 left = lMult(bandValues[bankLeft[k]], filterLeft[k]);
    binOut[k] = extractHigh(lMac(left, bandValues[bankRight[k]], filterRight[k]));
  }
}

}  // extern "C"
