#pragma once
// Layout of the caller's work buffer: everything that the front end remembers between frames.

#include <cstddef>
#include <cstdint>

#include "Arvessa.h"
#include "engine/engine_state.h"

namespace arvessa {

inline constexpr int kBeams = 3;
inline constexpr int kBeamFrame = ARVESSA_FRAME_SAMPLES;
inline constexpr int kBeamHistory = 24;  // samples by which consecutive blocks overlap

}  // namespace arvessa

// Lies at the start of the work buffer. The engine's configuration record follows it; it holds a
// pointer, and the buffer is aligned to 4 bytes only, so its place depends on the buffer's address:
// see vornConfigIn.
struct ArvessaState {
  // The engine's pState is the address of the buffer itself.
  union {
    WvqeState engine;
    unsigned char engineBytes[VORN_STATE_BYTES];
  };
  Word16 mic1History[arvessa::kBeamHistory];  // last samples of the previous frame, Q15
  Word16 mic2History[arvessa::kBeamHistory];
  float beamOverlap[arvessa::kBeamHistory];  // tail of the last block, added to the next frame
  float beamEnergy[arvessa::kBeams];         // of each beam's output since the last decision
  uint32_t frameCount;                       // frames completed; wraps
  Word16 beamSelected;                       // beam that produces the output, 0..2
  Word16 beamPending;                        // latest winner from the fifth decision on, 0..2
  Word16 beamConfirm;                        // its wins in a row; back to 1 once it is selected
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

static_assert(alignof(ArvessaState) == ARVESSA_WORK_ALIGNMENT);
static_assert(offsetof(ArvessaState, mic1History) == VORN_STATE_BYTES);
static_assert(sizeof(ArvessaState) + (alignof(VornConfig) - ARVESSA_WORK_ALIGNMENT) +
                  sizeof(VornConfig) <=
              ARVESSA_WORK_BYTES);

}  // namespace arvessa
