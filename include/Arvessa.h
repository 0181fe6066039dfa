/*
 * Arvessa: the speech front end of a two-microphone device. Once per 10 ms it takes 80 samples from
 * each microphone at 8 kHz, forms one beam out of the two (fixed-weight MVDR, single-precision
 * float) and, when asked, reduces noise and controls the gain (engine VORN, fixed point; see Vorn.h
 * for using it alone).
 *
 *     static uint32_t work[ARVESSA_WORK_BYTES / 4];        // 4-byte aligned
 *     ArvessaConfig cfg = {work, sizeof work, 0, 1, 1};
 *     Arvessa_Init(&cfg);
 *     for (;;) Arvessa(in, out, &cfg);                     // 2 x 80 samples in, 80 out
 *
 * Memory: everything the library remembers lives in the caller's work buffer. Nothing is allocated,
 * no global changes, and there is no teardown call: freeing or reusing the buffer ends the stream.
 * The buffer must stay at its address between calls, because it holds a pointer to itself. If its
 * bytes are damaged, samples are arbitrary or refused; nothing but the arguments is touched.
 *
 * Stack: a call needs less than 16 KB.
 *
 * Threads: everything runs on the caller's thread, without locks. Different work buffers are
 * independent and may be processed at the same time; calls that share one buffer must not overlap.
 * A frame takes bounded time, never blocks and makes no system call.
 *
 * Latency: the output lags the microphones by ARVESSA_BEAM_LATENCY samples (3 ms), and by
 * ARVESSA_ENGINE_LATENCY samples (6 ms) while the engine reduces noise or controls the gain.
 * Besides that the library holds back nothing: a frame in gives a frame out.
 *
 * Numbers: the same samples give the same output on every processor and with every compiler, float
 * part included, as long as the calling thread rounds floats to nearest and keeps denormals, as
 * every platform does unless it is told otherwise.
 *
 * Part of Arvessa. SPDX-License-Identifier: Apache-2.0
 */
#ifndef ARVESSA_H
#define ARVESSA_H

#include "ArvessaTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

#define ARVESSA_WORK_BYTES 8132   /* bytes at `pWork` */
#define ARVESSA_WORK_ALIGNMENT 4  /* of `pWork`, `in` and `out`, bytes */
#define ARVESSA_SAMPLE_RATE 8000  /* Hz */
#define ARVESSA_FRAME_SAMPLES 80  /* per microphone and frame: 10 ms */
#define ARVESSA_BEAM_LATENCY 24   /* samples, beamformer alone */
#define ARVESSA_ENGINE_LATENCY 48 /* samples, beamformer and engine */

/* The caller's configuration, passed to both Arvessa_Init and Arvessa. The record itself must be
 * aligned as its type, which is not checked. */
typedef struct ArvessaConfig {
  void* pWork;          /* work buffer: ARVESSA_WORK_BYTES bytes, 4-byte aligned, not null */
  int32_t workSize;     /* bytes available at `pWork`: at least ARVESSA_WORK_BYTES, signed */
  uint8_t rateCode;     /* 0: 8 kHz, the only rate of the front end */
  uint8_t nrEnable;     /* 1: the engine suppresses noise; 0: it does not */
  uint8_t engineEnable; /* 1: the engine runs after the beamformer; 0: it does not. As given to
                           Arvessa_Init it also is the engine's AGC switch for the whole stream */
} ArvessaConfig;

/*
 * Prepares the work buffer: clears it, sets the beamformer's fields and initialises the engine. A
 * second call on the same buffer restarts the stream.
 *
 * Returns 0; -1 if `cfg` or `pWork` is null or `pWork` is not 4-byte aligned; -2 if `workSize` is
 * below ARVESSA_WORK_BYTES, `rateCode` is not 0, or `nrEnable` or `engineEnable` is above 1.
 * Pointers are checked first. A refused call writes nothing.
 */
ARVESSA_API intptr_t Arvessa_Init(ArvessaConfig* cfg);

/*
 * Enhances one 10 ms frame.
 *
 * in   160 samples of Q15, 4-byte aligned: microphone 1 in in[0..79], microphone 2 in in[80..159];
 *      read only
 * out  80 samples of Q15, 4-byte aligned. May overlap `in`, which is read completely before the
 *      first sample is written
 * cfg  as given to Arvessa_Init, with the same work buffer. `pWork` and `engineEnable` are read on
 *      every call, the other fields are not. Setting `engineEnable` to anything but 1 leaves the
 *      engine out, with its state standing still; setting it to 1 brings it back. The AGC
 *      switch keeps the value that `engineEnable` had at Arvessa_Init.
 *
 * Returns 0; -1 if `in`, `out`, `cfg` or `pWork` is null or `pWork`, `in` or `out` is not 4-byte
 * aligned, with nothing changed; or the engine's refusal (-1 on a zero-filled buffer that
 * Arvessa_Init never prepared, or one that has moved, -2 on one with damaged settings), with the
 * beamformed frame in `out` and the frame not counted.
 */
ARVESSA_API intptr_t Arvessa(const Word16* in, Word16* out, ArvessaConfig* cfg);

/*
 * The library's version: 100. Writes the line "Arvessa_GetVer:100!" with tag "Arvessa" at debug
 * priority to the platform's log, on Android through __android_log_print; elsewhere the library
 * brings a weak function of that name that writes to standard error, which a program may replace.
 */
ARVESSA_API intptr_t Arvessa_GetVer(void);

#ifdef __cplusplus
}
#endif

#endif /* ARVESSA_H */
