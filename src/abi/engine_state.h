// SPDX-License-Identifier: Apache-2.0
#pragma once
// What the engine remembers between frames: the first bytes of its state and of the work buffer.
// Bytes that the fields do not use hold nothing.

#include "Vorn.h"
#include "agc/agc.h"
#include "noise_reduction/state.h"

struct WvqeState {
  arvessa::NoiseReductionState noiseReduction;
  arvessa::AgcState agc;
};

static_assert(sizeof(WvqeState) <= VORN_STATE_BYTES);
static_assert(alignof(WvqeState) == VORN_STATE_ALIGNMENT);
