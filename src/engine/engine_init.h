#pragma once
// Initialisation of the engine.

#include <cstdint>

#include "engine/engine_state.h"

namespace arvessa {

inline bool isAligned(const void* pointer) {
  return reinterpret_cast<std::uintptr_t>(pointer) % VORN_STATE_ALIGNMENT == 0;
}
inline bool isStatePointer(const void* pointer) { return pointer != nullptr && isAligned(pointer); }

}  // namespace arvessa

extern "C" {

// Sets every field of the state to its initial value, whatever the rate. Returns 0.
ARVESSA_API Word16 VQE_Init(WvqeState* state);

}  // extern "C"
