#include "engine/analysis.h"

#include <cstring>

#include "engine/filterbank.h"
#include "engine/fixed_fft.h"
#include "fixedpoint/block_float.h"
#include "fixedpoint/lanes.h"
#include "fixedpoint/operators.h"

namespace arvessa {
namespace {

constexpr Word16 kAnalysisHeadroom = 6;      // bits
constexpr Word32 kPreemphasis = -866019132;  // -0.40327 in Q31

Word16 sizeCodeOf(int bins) {
  if (bins == 64) return 0;
  return bins == 128 ? 1 : 2;
}

Geometry geometryOf(int sizeCode) {
  return kGeometry[sizeCode == 0 || sizeCode == 1 ? sizeCode : 2];
}

const Word16* windowOf(int sizeCode) {
  if (sizeCode == 0) return WVQE_CONST_TABLE_WIN_8k;
  return sizeCode == 1 ? WVQE_CONST_TABLE_WIN_16k : WVQE_CONST_TABLE_WIN_32k;
}

// Applies n window values, a multiple of 4.
void applyWindow(Word32* block, const Word16* window, int n) {
  if (kHaveLanes && hasLaneHeadroom(usedBits(block, n))) {
    for (int i = 0; i < n; i += 4) {
      storeLanes(block + i, mulQ15(loadLanes(block + i), loadFactors(window + i)));
    }
    return;
  }
  for (int i = 0; i < n; ++i) block[i] = mpy32x16(block[i], window[i]);
}

}  // namespace
}  // namespace arvessa

extern "C" {

void WVQE_Analysis(Word32* inWork, Word32* powerSpec, Word32* bandPower, Word32* timeBuf,
                   Word32* spectrum, Word32* specWork, const Word16* twiddles,
                   const Word16* reordering, const Word16* /*window*/, const Word32* bankLeft,
                   const Word16* filterLeft, const Word32* bankRight, const Word16* filterRight,
                   Word16 N, Word16 K, Word16 /*L*/, Word16 rateCode, WvqeState* state) {
  using namespace arvessa;
  const Word16 shift = WVQE_Block_Norm(inWork, N, kAnalysisHeadroom);
  const Word16 scaleChange = sub(shift, state->inputExp);
  state->inputExp = shift;

  const Word16 sizeCode = sizeCodeOf(K);
  VORN_WVQE_Analysis1_ASM(timeBuf, inWork, state->anaHistory, scaleChange, &state->anaMem,
                          sizeCode);
  const auto points = static_cast<Word16>(2 * K);
  const auto stages = static_cast<Word16>(rateCode == 3 ? 7 : rateCode + 6);
  WVQE_FFT(timeBuf, points, K, stages, twiddles, reordering, spectrum);
  for (int i = 0; i < 4; ++i) spectrum[i] = 0;  // bins 0, K and 1

  std::memcpy(specWork, spectrum, static_cast<std::size_t>(points) * sizeof(Word32));
  WVQE_Block_Denorm(specWork, points, shift);
  VORN_WVQE_Analysis2_ASM(specWork, powerSpec, sizeCode);
  WVQE_Spectrum_Bank(powerSpec, bandPower, bankLeft, bankRight, filterLeft, filterRight, K);
}

void VORN_WVQE_Analysis1_ASM(Word32* timeBuf, const Word32* inWork, Word32* anaHistory, Word16 d,
                             Word32* anaMem, Word16 sizeCode) {
  using namespace arvessa;
  const Geometry g = geometryOf(sizeCode);
  const Word16* window = windowOf(sizeCode);
  const int windowed = g.history + g.frame;

  if (d <= 0) {
    const int down = d < -31 ? 31 : -d;
    for (int i = 0; i < g.history; ++i) timeBuf[i] = anaHistory[i] >> down;
  } else {
    for (int i = 0; i < g.history; ++i) timeBuf[i] = lShl(anaHistory[i], d);
  }
  Word32 previous = lShl(*anaMem, d);
  Word32* fresh = timeBuf + g.history;
  int n = 0;
  const auto plainSteps = [&](int end) {
    for (; n < end; ++n) {
      fresh[n] = lAdd(inWork[n], lMult32ByCoefficient(kPreemphasis, previous));
      previous = inWork[n];
    }
  };
  if (kHaveLanes && usedBits(inWork, g.frame) < (1U << 30)) {
    plainSteps(4);
    // Of the coefficient 65536 h + l, l is taken as signed: its product is then short by 2^16 times
    // the upper half, 2 of them after the shift.
    const Factors high = splatFactor(extractHigh(kPreemphasis));
    const Factors low = splatFactor(extractLow(kPreemphasis));
    static_assert(extractLow(kPreemphasis) < 0);
    for (; n < g.frame; n += 4) {
      const Lanes q = loadLanes(inWork + n - 1);
      const Lanes product = mulQ15(q, high) + mulHighQ15(q, low) + 2 * (q >> 16);
      storeLanes(fresh + n, loadLanes(inWork + n) + product);
    }
  }
  plainSteps(g.frame);
  *anaMem = inWork[g.frame - 1];
  for (int i = 0; i < g.history; ++i) {
    timeBuf[windowed + i] = 0;
    anaHistory[i] = timeBuf[g.frame + i];
  }
  applyWindow(timeBuf, window, windowed);
}

void VORN_WVQE_Analysis2_ASM(const Word32* spec, Word32* power, Word16 sizeCode) {
  using namespace arvessa;
  const int bins = geometryOf(sizeCode).bins;
  Word16 parts[2 * kMaxBins];
  for (int i = 0; i < 2 * bins; i += 4) {
    const Lanes word = loadLanes(spec + i);
    storeSaturated(parts + i, (word >> 16) + ((word >> 15) & 1));
  }
  for (int k = 0; k < bins; k += 4) {
    // At most 2^31, a negative number: the doubled sum saturates from 2^30 on.
    const Lanes sum = squaredMagnitudes(parts + 2 * k);
    const Lanes saturated = (sum >= (1 << 30)) | (sum < 0);
    storeLanes(power + k, ((sum & ~saturated) << 1) | (saturated & kMax32));
  }
  const Word16 dc = roundHigh(spec[0]);
  power[0] = lMult(dc, dc);  // without bin K
}

}  // extern "C"
