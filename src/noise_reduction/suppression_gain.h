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

// What speech presence means for a band; both Q15.
struct Presence {
  std::span<Word16, kernels::kBands> gain;         // under speech presence
  std::span<Word16, kernels::kBands> probability;  // of it
};

// The gains of all bins of the bank in Q15, 0..32767.
void suppressionGains(const BandPowers& power, const BandSnrs& snr, const GainMemory& memory,
                      const kernels::Filterbank& bank, std::span<Word16> binGain);

// The steps of the stage. Smooths the a priori SNR over frames, Q8, and returns its sum over the
// bands.
Word32 smoothPriorSnr(std::span<const Word16, kernels::kBands> priorSnr,
                      std::span<Word16, kernels::kBands> smooth);

// The gains under speech presence, its probability, and the clean-speech power for the a priori SNR
// of the next frame. globalPresence, of the frame: 4024..32734, Q15.
void gainsUnderPresence(const BandSnrs& snr, std::span<const Word32, kernels::kBands> framePower,
                        std::span<const Word16, kernels::kBands> smoothSnr, Word16 globalPresence,
                        std::span<Word32, kernels::kBands> speech, const Presence& presence);

// Holds the gains above the floor, in place, and mixes: (p sqrt(gain) + (1 - p) sqrt(floor))
// squared, Q15. The floor fades where there is no noise.
void mixWithFloor(std::span<const Word32, kernels::kBands> noise, Word16 floorGain,
                  std::span<const Word16, kernels::kBands> probability,
                  std::span<Word16, kernels::kBands> gain,
                  std::span<Word16, kernels::kBands> bandGain);

}  // namespace arvessa
