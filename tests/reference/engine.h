// SPDX-License-Identifier: Apache-2.0
// The voice enhancement engine, stage by stage, with the names and argument orders that the library
// exports, so that both can be called side by side.
#pragma once

#include <cstdint>

#include "reference/state.h"

namespace reference {

// Analysis and band energies.
void WVQE_Analysis(Word32* inWork, Word32* powerSpec, Word32* bandPower, Word32* timeBuf,
                   Word32* spectrum, Word32* specWork, const Word16* twiddles,
                   const Word16* reordering, const Word16* window, const Word32* bankLeft,
                   const Word16* filterLeft, const Word32* bankRight, const Word16* filterRight,
                   Word16 N, Word16 K, Word16 L, Word16 rateCode, WvqeState* state);
void VORN_WVQE_Analysis1_ASM(Word32* timeBuf, const Word32* inWork, Word32* anaHistory, Word16 d,
                             Word32* anaMem, Word16 sizeCode);
void VORN_WVQE_Analysis2_ASM(const Word32* spectrum, Word32* power, Word16 sizeCode);
void WVQE_Spectrum_Bank(const Word32* binPower, Word32* bandOut, const Word32* bankLeft,
                        const Word32* bankRight, const Word16* filterLeft,
                        const Word16* filterRight, Word16 K);
void WVQE_Spectrum_PSD(Word16* binOut, const Word16* filterLeft, const Word16* filterRight,
                       const Word32* bankLeft, const Word32* bankRight, const Word16* bandValues,
                       Word16 K);

// Noise estimation and voice activity.
void WVQE_Noise_Vad(WvqeState* state, int K, const Word32* powerSpec, unsigned char* binActive);
void VORN_WVQE_Noise_Vad1_ASM(Word32* psdSmooth, const Word32* powerSpec, int K);
void VORN_WVQE_Noise_Vad2_ASM(const Word32* psdSmooth, const Word32* psdMin,
                              unsigned char* binActive, Word16* vadFlag, Word16 K);
void VORN_WVQE_Noise_Vad3_ASM(const Word32* powerSpec, Word32* noisePsd,
                              const unsigned char* binActive, Word16 alpha, Word16 K);

// SNR and suppression gain, 24 bands.
void WVQE_PostAndPriorSNR(Word16* postSnr, Word16* priorSnr, Word32* bandSnrState,
                          const Word32* bandPower, const Word32* bandNoise, Word16 frameNo);
void WVQE_Gain_Proc(WvqeState* state, const Word16* postSnr, const Word16* priorSnr,
                    const Word32* bandNoise, const Word32* bandPower, const Word32* bankLeft,
                    const Word16* filterLeft, const Word32* bankRight, const Word16* filterRight,
                    std::uint8_t nrEnable, Word16 nBins, Word16* binGain);
void VORN_NR_Gain_Proc1_ASM(Word16* bandSmooth, const Word16* priorSnr, Word32* priorSnrSum);
void VORN_NR_Gain_Proc2_ASM(const Word16* priorSnr, const Word32* bandPower, Word16* gainH1,
                            Word32* bandSnrState, const Word16* postSnr, const Word16* bandSmooth,
                            Word16* speechProb, Word16 globalPresence);
void VORN_NR_Gain_Proc3_ASM(const Word32* bandNoise, Word16* gainH1, const Word16* speechProb,
                            Word16* bandGain, Word16 floorGain);
Word32 WVQE_Hypergeom_Gain(Word32 v);
Word32 WVQE_Qcurve(Word32 x);
void WVQE_Gain_Floor(const Word32* bandNoise, Word16* floorDb, WvqeState* state);

// Band split at 48 kHz.
void AEC_Split_Ne(const Word16* in, Word16* low, Word16* high, Word16 len, Word16* splitLpfX,
                  Word32* splitLpfY, Word16* splitHpfX, Word32* splitHpfY);
void AEC_Syn_Ne(const Word16* low, const Word16* high, Word16* out, Word16 len, Word16* synLpfX,
                Word32* synLpfY);

// Frame pipeline and entry points.
void WVQE_NR_Proc(const Word16* in, Word16* out, const VornConfig* cfg, WvqeState* state);
void WVQE_MainProcess(const Word16* in, WvqeState* state, int N, int K, Word16 L, Word16 rateCode,
                      unsigned char nrEnable, Word16* out);
void VORN_WVQE_MainProcess_ASM(Word32* olaBuffer, Word32* timeBuf, Word32* deemphMem, Word16* out,
                               int N, Word16 K);
Word16 VORN_Init(VornConfig* cfg);
Word16 VQE_Init(WvqeState* state);
Word16 VORN_GetVer();
Word16 VORN_Proc(const Word16* in, int length, Word16* out, Word16* lengthWord, VornConfig* cfg);

}  // namespace reference
