#include "engine_frames.h"

#include <bit>
#include <cstdint>

#include "engine/analysis.h"
#include "engine/engine_init.h"
#include "engine/filterbank.h"
#include "engine/fixed_fft.h"
#include "engine/noise_estimation.h"
#include "engine/nr_pipeline.h"
#include "engine/snr_estimation.h"
#include "engine/suppression_gain.h"
#include "fixedpoint/block_float.h"
#include "signal.h"

namespace arvessa::bench {
namespace {

constexpr int kSkipped = 128;   // frames until the estimates have settled
constexpr int kCaptured = 128;  // 1.28 s, words and pauses

struct Size {
  int code;
  Word16 frame;
  Word16 bins;
  Word16 points;
  Word16 history;
  SizeTables tables;
};

Size sizeOf(int sizeCode) {
  const Geometry g = kGeometry[sizeCode];
  return {
      sizeCode, g.frame, g.bins, static_cast<Word16>(2 * g.bins), g.history, sizeTables(sizeCode)};
}

// The block as WVQE_Analysis hands it to its transform.
Block windowedBlock(const Size& size, const FrameWords& input, WvqeState before) {
  FrameWords words = input;
  const Word16 shift = WVQE_Block_Norm(words.data(), size.frame, 6);
  Block block{};
  VORN_WVQE_Analysis1_ASM(block.data(), words.data(), before.anaHistory,
                          static_cast<Word16>(shift - before.inputExp), &before.anaMem,
                          static_cast<Word16>(size.code));
  return block;
}

void analyse(const Size& size, const Word16* samples, WvqeState& state, EngineFrame& f) {
  for (std::size_t i = 0; i < std::size_t(size.frame); ++i) f.analysisInput[i] = samples[i] * 65536;
  f.timeBlock = windowedBlock(size, f.analysisInput, state);
  FrameWords input = f.analysisInput;
  Block timeBuf{};
  Block specWork{};
  const SizeTables& t = size.tables;
  WVQE_Analysis(input.data(), f.powerSpec.data(), f.bandPower.data(), timeBuf.data(),
                f.spectrum.data(), specWork.data(), t.twiddles, t.rearranged, t.window, t.bankLeft,
                t.filterLeft, t.bankRight, t.filterRight, size.frame, size.bins, size.history,
                static_cast<Word16>(size.code), &state);
  f.inputExp = state.inputExp;
}

void suppress(const Size& size, WvqeState& state, EngineFrame& f) {
  const SizeTables& t = size.tables;
  std::array<unsigned char, kMaxBins> binActive{};
  WVQE_Noise_Vad(&state, size.bins, f.powerSpec.data(), binActive.data());
  WVQE_Spectrum_Bank(state.noisePsd, f.bandNoise.data(), t.bankLeft, t.bankRight, t.filterLeft,
                     t.filterRight, size.bins);
  WVQE_PostAndPriorSNR(f.postSnr.data(), f.priorSnr.data(), state.bandSnrState, f.bandPower.data(),
                       f.bandNoise.data(), static_cast<Word16>(state.frameCountSat));
  std::array<Word16, kMaxBins> gain{};
  WVQE_Gain_Proc(&state, f.postSnr.data(), f.priorSnr.data(), f.bandNoise.data(),
                 f.bandPower.data(), t.bankLeft, t.filterLeft, t.bankRight, t.filterRight, 1,
                 size.bins, gain.data());
  for (std::size_t i = 0; i < std::size_t(size.points); ++i) {
    f.suppressed[i] = static_cast<Word32>(std::int64_t{f.spectrum[i]} * gain[i / 2] >> 15);
  }
}

void synthesise(const Size& size, WvqeState& state, EngineFrame& f) {
  f.normalised = f.suppressed;
  const Word16 shift = WVQE_Block_Norm(f.normalised.data(), size.points, 8);
  f.denormShift = static_cast<Word16>(f.inputExp + 1 + shift);
  WVQE_IFFT(f.normalised.data(), size.points, size.bins,
            static_cast<Word16>(std::bit_width(unsigned(size.bins)) - 1), size.tables.twiddles,
            size.tables.rearranged, f.synthesised.data());
  f.restored = f.synthesised;
  WVQE_Block_Denorm(f.restored.data(), size.points, f.denormShift);
  Block timeBuf = f.restored;
  std::array<Word16, kMaxFrame> out{};
  VORN_WVQE_MainProcess_ASM(state.olaBuffer, timeBuf.data(), &state.deemphMem, out.data(),
                            size.frame, size.bins);
}

}  // namespace

SizeTables sizeTables(int sizeCode) {
  if (sizeCode == 0) {
    return {WVQE_CONST_TABLE_FFT_COEF_8K,    WVQE_CONST_TABLE_FFT_COEF_Rearrange_8K,
            WVQE_CONST_TABLE_WIN_8k,         WVQE_CONST_TABLE_BANK_LEFT_8K,
            WVQE_CONST_TABLE_BANK_RIGHT_8K,  WVQE_CONST_TABLE_FILTER_LEFT_8K,
            WVQE_CONST_TABLE_FILTER_RIGHT_8K};
  }
  if (sizeCode == 1) {
    return {WVQE_CONST_TABLE_FFT_COEF_16K,    WVQE_CONST_TABLE_FFT_COEF_Rearrange_16K,
            WVQE_CONST_TABLE_WIN_16k,         WVQE_CONST_TABLE_BANK_LEFT_16K,
            WVQE_CONST_TABLE_BANK_RIGHT_16K,  WVQE_CONST_TABLE_FILTER_LEFT_16K,
            WVQE_CONST_TABLE_FILTER_RIGHT_16K};
  }
  return {WVQE_CONST_TABLE_FFT_COEF_32K,    WVQE_CONST_TABLE_FFT_COEF_Rearrange_32K,
          WVQE_CONST_TABLE_WIN_32k,         WVQE_CONST_TABLE_BANK_LEFT_32K,
          WVQE_CONST_TABLE_BANK_RIGHT_32K,  WVQE_CONST_TABLE_FILTER_LEFT_32K,
          WVQE_CONST_TABLE_FILTER_RIGHT_32K};
}

EngineFrames captureEngineFrames(int sizeCode) {
  const Size size = sizeOf(sizeCode);
  const FrameStream speech = noisySpeech(sizeCode);
  EngineFrames captured{};
  VQE_Init(&captured.state);
  for (int i = 0; i < kSkipped + kCaptured; ++i) {
    ++captured.state.frameCountSat;
    ++captured.state.minWinCount;
    EngineFrame f{};
    analyse(size, speech.frame(i), captured.state, f);
    suppress(size, captured.state, f);
    synthesise(size, captured.state, f);
    if (i >= kSkipped) captured.frames.push_back(f);
  }
  return captured;
}

}  // namespace arvessa::bench
