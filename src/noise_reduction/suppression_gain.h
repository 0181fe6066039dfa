// SPDX-License-Identifier: Apache-2.0
#pragma once
// Suppression gain: the beta-order MMSE amplitude estimator (You, Koh and Rahardja 2005, beta =
// 0.5) in 24 bands, mixed with an adaptive floor by the speech presence probability (Cohen 2002),
// and spread to the bins.

#include <span>

#include "kernels/kernels.h"
#include "noise_reduction/snr_estimation.h"

namespace arvessa {

struct GainMemory {
  std::span<Word32, kernels::kBands> speech;    // smoothed clean-speech power
  std::span<Word16, kernels::kBands> priorSnr;  // smoothed, Q8
  Word16& floorDepth;                           // dB, 4..15
};

// The gains of all bins of the bank in Q15, 0..32767.
void suppressionGains(const BandPowers& power, const BandSnrs& snr, const GainMemory& memory,
                      const kernels::Filterbank& bank, std::span<Word16> binGain);

// The steps of the stage. Smooths the a priori SNR over frames, Q8, and returns its sum over the
// bands.
Word32 smoothPriorSnr(std::span<const Word16, kernels::kBands> priorSnr,
                      std::span<Word16, kernels::kBands> smooth);

}  // namespace arvessa
