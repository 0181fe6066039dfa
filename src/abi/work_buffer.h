// SPDX-License-Identifier: Apache-2.0
#pragma once
// Layout of the caller's work buffer: everything that the front end remembers between frames.

#include <cstddef>
#include <cstdint>

#include "Arvessa.h"
#include "abi/engine_state.h"
#include "beamformer/mvdr_beamformer.h"

// Lies at the start of the work buffer. The engine's configuration record follows it; it holds a
// pointer, and the buffer is aligned to 4 bytes only, so its place depends on the buffer's address:
// see vornConfigIn.
struct ArvessaState {
  // The engine's pState is the address of the buffer itself.
  union {
    WvqeState engine;
    unsigned char engineBytes[VORN_STATE_BYTES];
  };
  arvessa::BeamformerState beamformer;
};

namespace arvessa {

// The engine's configuration record in the work buffer that begins with `state`, at the first
// address after the state that suits a pointer.
inline VornConfig* vornConfigIn(ArvessaState* state) {
  auto* end = reinterpret_cast<unsigned char*>(state + 1);
  const auto misalignment = reinterpret_cast<std::uintptr_t>(end) % alignof(VornConfig);
  return reinterpret_cast<VornConfig*>(
      end + (misalignment == 0 ? 0 : alignof(VornConfig) - misalignment));
}

// Whether a pointer of the interface is aligned as all of them must be.
inline bool isAligned(const void* pointer) {
  static_assert(ARVESSA_WORK_ALIGNMENT == VORN_STATE_ALIGNMENT);
  return reinterpret_cast<std::uintptr_t>(pointer) % ARVESSA_WORK_ALIGNMENT == 0;
}

static_assert(kBeamFrame == ARVESSA_FRAME_SAMPLES && kBeamHistory == ARVESSA_BEAM_LATENCY);
static_assert(alignof(ArvessaState) == ARVESSA_WORK_ALIGNMENT);
static_assert(offsetof(ArvessaState, beamformer) == VORN_STATE_BYTES);
static_assert(sizeof(ArvessaState) + (alignof(VornConfig) - ARVESSA_WORK_ALIGNMENT) +
                  sizeof(VornConfig) <=
              ARVESSA_WORK_BYTES);

}  // namespace arvessa
