// SPDX-License-Identifier: Apache-2.0
#pragma once
// The exported names of the engine's stages, from the whole frame down to single steps, with the
// arguments that callers link to. Each converts its arguments into the views of the stage and calls
// it; what a stage computes stands at the stage.

#include "Vorn.h"

struct WvqeState;

extern "C" {

// Sets every field of the state to its initial value, whatever the rate. Returns 0.
ARVESSA_API Word16 VQE_Init(WvqeState* state);

// --- the frame (noise_reduction/pipeline.h)

// One frame of 80, 160, 320 or 480 samples of Q15, by the rate code of `cfg`: advances the frame
// counters and runs WVQE_MainProcess. `in` and `out` may be the same frame.
ARVESSA_API void WVQE_NR_Proc(const Word16* in, Word16* out, const VornConfig* cfg,
                              WvqeState* state);

// The same without advancing the counters. N, K and L are not read: the rate code says how long
// frame, spectrum and history are. With nrEnable not 1 the spectrum is left as it is, and the upper
// band at 48 kHz passes with a factor of 32767.
ARVESSA_API void WVQE_MainProcess(const Word16* in, WvqeState* state, int N, int K, Word16 L,
                                  Word16 rateCode, unsigned char nrEnable, Word16* out);

// Overlap-add of the 2K - N words of `olaBuffer` to the first of the 2K of `timeBuf`; `olaBuffer`
// receives the new overlap, the last words of `timeBuf`. Then de-emphasis y[n] = x[n] + 0.40327
// y[n-1] with its memory in `deemphMem`. The N output samples are twice the rounded upper half of
// y, saturated: Q15.
ARVESSA_API void VORN_WVQE_MainProcess_ASM(Word32* olaBuffer, Word32* timeBuf, Word32* deemphMem,
                                           Word16* out, int N, Word16 K);

// --- band split (noise_reduction/band_split.h)

// 3 len samples of `in` to len samples of `low`, the first of every three low-pass outputs, and
// 3 len of `high`, all Q15. The filter memories hold 10 values each, most recent first: inputs X in
// Q15, outputs Y with 13 more fraction bits. No overlap.
ARVESSA_API void AEC_Split_Ne(const Word16* in, Word16* low, Word16* high, Word16 len,
                              Word16* splitLpfX, Word32* splitLpfY, Word16* splitHpfX,
                              Word32* splitHpfY);

// The inverse: len samples of `low` as every third of 3 len, interpolated by the low-pass with a
// gain of 3, plus the 3 len of `high`, saturated. Up to 160 samples, `out` may be `low`.
ARVESSA_API void AEC_Syn_Ne(const Word16* low, const Word16* high, Word16* out, Word16 len,
                            Word16* synLpfX, Word32* synLpfY);

// --- analysis (noise_reduction/analysis.h)

// inWork     N samples in the upper halves; normalised in place to 6 bits of headroom
// powerSpec  K powers at the input's scale, written; bins 0 and 1 are 0
// bandPower  24 band powers, written
// timeBuf    2K words, work area
// spectrum   2K words, written: packed spectrum, normalised by the shift in state->inputExp, with
//            bins 0, 1 and K cleared
// specWork   2K words, written: the spectrum at the input's scale; may be timeBuf
// state      anaHistory, anaMem and inputExp are read and updated
//
// K (64, 128, else 256) fixes the geometry. So N, L and the rate code, which could only say the
// same, are not read, and neither are twiddles, their reordered copy and the window, of which each
// size has one.
ARVESSA_API void WVQE_Analysis(Word32* inWork, Word32* powerSpec, Word32* bandPower,
                               Word32* timeBuf, Word32* spectrum, Word32* specWork,
                               const Word16* twiddles, const Word16* reordering,
                               const Word16* window, const Word32* bankLeft,
                               const Word16* filterLeft, const Word32* bankRight,
                               const Word16* filterRight, Word16 N, Word16 K, Word16 L,
                               Word16 rateCode, WvqeState* state);

// The windowed block of 2K words: history, pre-emphasised new samples, zeros. `d` is the shift that
// brings history and memory, both updated, to the scale of `inWork`. sizeCode 0, 1 and 2 for
// 8, 16 and 32 kHz.
ARVESSA_API void VORN_WVQE_Analysis1_ASM(Word32* timeBuf, const Word32* inWork, Word32* anaHistory,
                                         Word16 d, Word32* anaMem, Word16 sizeCode);

// 2 (re^2 + im^2) of the rounded upper halves of K bins, saturated; bin 0 without the bin K that
// shares its slot.
ARVESSA_API void VORN_WVQE_Analysis2_ASM(const Word32* spectrum, Word32* power, Word16 sizeCode);

// --- filterbank (kernels/kernels.h)

// K bin powers to 24 band powers, any scale, saturating sums in bin order. bankRight[k] is
// bankLeft[k] + 1.
ARVESSA_API void WVQE_Spectrum_Bank(const Word32* binPower, Word32* bandOut, const Word32* bankLeft,
                                    const Word32* bankRight, const Word16* filterLeft,
                                    const Word16* filterRight, Word16 K);

// 24 band values to K bin values, Q15: the weighted sum of the bin's two bands, floored.
ARVESSA_API void WVQE_Spectrum_PSD(Word16* binOut, const Word16* filterLeft,
                                   const Word16* filterRight, const Word32* bankLeft,
                                   const Word32* bankRight, const Word16* bandValues, Word16 K);

// --- noise estimate (noise_reduction/noise_estimation.h)

// The whole stage for a frame of K bins: reads powerSpec, writes K bytes of binActive (1: speech,
// 0: noise) and updates psdSmooth, psdMin, psdTmpMin, noisePsd and vadFlag; restarts minWinCount.
// The frame counters have been advanced. K is even and at least 4.
ARVESSA_API void WVQE_Noise_Vad(WvqeState* state, int K, const Word32* powerSpec,
                                unsigned char* binActive);

// Smooths the power over time (0.8 of the old value) and over three bins.
ARVESSA_API void VORN_WVQE_Noise_Vad1_ASM(Word32* psdSmooth, const Word32* powerSpec, int K);

// A bin is active when its smoothed power exceeds 3.2 times its minimum, the frame carries voice
// when the total exceeds 16.4 times the total minimum.
ARVESSA_API void VORN_WVQE_Noise_Vad2_ASM(const Word32* psdSmooth, const Word32* psdMin,
                                          unsigned char* binActive, Word16* vadFlag, Word16 K);

// Averages the power of the bins that are not active, or that lie below the estimate, into noisePsd
// (7 fraction bits) with weight alpha, Q15.
ARVESSA_API void VORN_WVQE_Noise_Vad3_ASM(const Word32* powerSpec, Word32* noisePsd,
                                          const unsigned char* binActive, Word16 alpha, Word16 K);

// --- SNR (noise_reduction/snr_estimation.h)

// All arrays have 24 entries.
//
// postSnr       gamma - 1 in Q8, -256..25600, written
// priorSnr      xi in Q8, 0..25600, written
// bandSnrState  smoothed clean-speech power of the previous frames, in the units of bandPower; on
//               the first frame (frameNo 1) replaced by bandPower
// bandPower     power of the frame, 0 or more
// bandNoise     noise power with 7 more fraction bits, 0 or more
// frameNo       frames since initialisation, held at 32767
ARVESSA_API void WVQE_PostAndPriorSNR(Word16* postSnr, Word16* priorSnr, Word32* bandSnrState,
                                      const Word32* bandPower, const Word32* bandNoise,
                                      Word16 frameNo);

// --- gain (noise_reduction/suppression_gain.h, noise_reduction/suppression_floor.h)

// postSnr, priorSnr  24 values in Q8 (-256..25600, 0..25600)
// bandNoise          24 noise powers, 7 fraction bits
// bandPower          24 powers
// bank, filter       filterbank tables of the rate
// nrEnable           0: all gains 32767 and no state changes
// nBins              64, 128 or 256
// binGain            nBins gains in Q15, 0..32767, written
// state              bandSmooth, bandSnrState and floorLevel are read and updated
ARVESSA_API void WVQE_Gain_Proc(WvqeState* state, const Word16* postSnr, const Word16* priorSnr,
                                const Word32* bandNoise, const Word32* bandPower,
                                const Word32* bankLeft, const Word16* filterLeft,
                                const Word32* bankRight, const Word16* filterRight,
                                unsigned char nrEnable, Word16 nBins, Word16* binGain);

// Smooths the a priori SNR over frames, Q8, and sums it over the bands.
ARVESSA_API void VORN_NR_Gain_Proc1_ASM(Word16* bandSmooth, const Word16* priorSnr,
                                        Word32* priorSnrSum);

// Gain under speech presence and speech presence probability, both Q15, and the clean-speech power
// of the next frame's a priori SNR. globalPresence: 4024..32734, Q15.
ARVESSA_API void VORN_NR_Gain_Proc2_ASM(const Word16* priorSnr, const Word32* bandPower,
                                        Word16* gainH1, Word32* bandSnrState, const Word16* postSnr,
                                        const Word16* bandSmooth, Word16* speechProb,
                                        Word16 globalPresence);

// Applies the floor to gainH1, in place, and mixes: bandGain = (p sqrt(gainH1) + (1 - p)
// sqrt(floor)) squared, Q15.
ARVESSA_API void VORN_NR_Gain_Proc3_ASM(const Word32* bandNoise, Word16* gainH1,
                                        const Word16* speechProb, Word16* bandGain,
                                        Word16 floorGain);

// T(v) / sqrt(v) in Q15 for v in Q11, v >= 0: the gain factor of the beta-order MMSE amplitude
// estimator with beta = 0.5 (You, Koh and Rahardja 2005). Interpolated below v = 10, 1 + 0.1296 / v
// above; about 83.1 at v = 0. A negative v gives 32767.
ARVESSA_API Word32 WVQE_Hypergeom_Gain(Word32 v);

// x / (x + 0.15) in Q15, 831..32767, for an SNR x in Q8; x <= 1 counts as 1.
ARVESSA_API Word32 WVQE_Qcurve(Word32 x);

// Moves the depth of the suppression floor (state->floorLevel, 4..15 dB) by at most 1 dB towards a
// target that rises with the total of the 24 band noise powers (7 fraction bits), with a hysteresis
// of 3 dB, and writes it, negative, to *floorDb.
ARVESSA_API void WVQE_Gain_Floor(const Word32* bandNoise, Word16* floorDb, WvqeState* state);

// --- AGC (agc/agc.h)

// Controls the gain of one frame of 80, 160, 320 or 480 samples of Q15 by rate code. Reads vadFlag;
// reads and updates agcEnvFast, agcEnvSlow, agcGainIdx and agcUpCount. `y` may be `x`. Another rate
// code returns at once.
ARVESSA_API void VED_AGC_Process(WvqeState* state, const Word16* x, const Word32* table,
                                 Word16 rateCode, Word16* y);

// Leading zero bits of v read as unsigned; 0 for 0.
ARVESSA_API Word16 AGC_norm_l(Word32 v);

}  // extern "C"
