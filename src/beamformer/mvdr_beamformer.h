#pragma once
// Two-microphone MVDR beamformer with three fixed beams (Capon 1969; docs/beam_design.md).

#include "interface/work_buffer.h"

extern "C" {

// One 10 ms frame at 8 kHz.
//
// frame  256 samples of Q15: microphone 1 in 0..127, microphone 2 in 128..255, each as 24 samples
//        of the previous frame, 80 new ones and 24 zeros; read only
// out    80 samples of Q15, in -32767..32767, lagging the input by 24
// work   reads frameCount; reads and updates beamOverlap, beamEnergy, beamSelected, beamPending and
//        beamConfirm
//
// Every 16th frame the beam with the largest output energy between 1000 Hz and 3937.5 Hz is chosen,
// at once in the first 64 frames, then only when it wins twice in a row; beam 0 counts as the winner
// before the fifth decision, and may follow it at once.
ARVESSA_API void MVDR_BeamForming(const Word16* frame, Word16* out, ArvessaState* work);

}  // extern "C"
