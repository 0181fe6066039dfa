/*
 * VORN: the voice enhancement engine. One channel, bit-exact 16/32-bit fixed point: spectral noise
 * suppression followed by automatic gain control, in 10 ms frames at 8, 16, 32 or 48 kHz.
 *
 *     VornConfig cfg = {state, VORN_STATE_BYTES, VORN_CHECK_VALUE, 1, 1, 1, 4};   // 16 kHz
 *     VORN_Init(&cfg);
 *     for (;;) {
 *       Word16 length = 160;                               // capacity of out, samples
 *       VORN_Proc(in, 160, out, &length, &cfg);            // 160 samples in, 160 out
 *     }
 *
 * Memory: the caller supplies all of it; nothing is allocated and no global changes. The state is
 * only bytes: it may be freed or reused at any time, and there is no teardown call. It holds no
 * pointer, but its layout is private to one build of the library. If its bytes are
 * damaged, samples are arbitrary; nothing but the arguments is touched.
 *
 * Stack: a call needs less than 16 KB.
 *
 * Threads: everything runs on the caller's thread, without locks. Different states may be processed
 * at the same time on different threads; calls that share one state must not overlap. A call is
 * bounded in time, never blocks and makes no system call.
 *
 * Latency: with both switches off the output equals the input. Otherwise it lags the input by
 * 24 samples at 8 kHz, 48 at 16 kHz and 96 at 32 kHz (3 ms). At 48 kHz the band below 7 kHz lags by
 * 144 samples (3 ms) and the delay of the band filters, the band above by 624 samples (13 ms).
 *
 * Part of Arvessa. SPDX-License-Identifier: Apache-2.0
 */
#ifndef VORN_H
#define VORN_H

#include "ArvessaTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

#define VORN_STATE_BYTES 7888      /* bytes at `pState` */
#define VORN_STATE_ALIGNMENT 4     /* of `pState`, `in` and `out`, bytes */
#define VORN_CHECK_VALUE 20        /* the only accepted `checkValue` */
#define VORN_MAX_FRAME_SAMPLES 480 /* the longest frame, at 48 kHz */

/* The engine's configuration. The caller keeps it and passes it to every call. The record itself
 * must be aligned as its type, which is not checked. */
typedef struct VornConfig {
  void* pState;        /* engine state: VORN_STATE_BYTES bytes, 4-byte aligned, not null */
  int32_t stateSize;   /* bytes available at `pState`: at least VORN_STATE_BYTES, signed */
  int16_t checkValue;  /* VORN_CHECK_VALUE; guards against an unfilled record */
  uint8_t rateCode;    /* 0: 8 kHz, 80 samples a frame; 1: 16 kHz, 160; 2: 32 kHz, 320;
                          3: 48 kHz, 480 */
  uint8_t nrEnable;    /* 1: suppress noise; 0: do not. Noise tracking runs either way */
  uint8_t agcEnable;   /* 1: automatic gain control; 0: none */
  uint8_t agcTableSel; /* 2: from -1.9 to 8.9 dB of gain; 3 or 4: from 1.2 to 18.4 dB. Checked on
                          every frame, also while `agcEnable` is 0 */
} VornConfig;

/*
 * Initialises the state at `cfg->pState`; a second call restarts the engine.
 *
 * Reads `pState`, `stateSize` and `checkValue` only: the other fields are read, and checked, by
 * each VORN_Proc.
 *
 * Returns 0; -1 if `cfg` or `pState` is null or `pState` is not 4-byte aligned; -2 if `checkValue`
 * is not VORN_CHECK_VALUE or `stateSize` is too small. A refused call writes nothing.
 */
ARVESSA_API Word16 VORN_Init(VornConfig* cfg);

/*
 * Enhances one frame of N samples (80, 160, 320 or 480, by `cfg->rateCode`).
 *
 * in          N samples of Q15, 4-byte aligned; read only
 * length      samples available at `in`, at least N; those beyond N are not used
 * out         N samples of Q15, 4-byte aligned; must not overlap `in`
 * lengthWord  on entry the capacity of `out` in samples, at least N; on success set to N
 * cfg         as given to VORN_Init. Switches, gain table and rate are read afresh on every call
 * and may change from frame to frame. A change of rate is accepted, but the state then carries the
 * history of the old geometry; call VORN_Init for a clean start.
 *
 * With both switches 0 the frame is passed through unchanged while the noise estimate keeps
 * tracking, so that a later frame with a switch on starts warm.
 *
 * Returns 0; -1 if `in`, `out`, `lengthWord`, `cfg` or `pState` is null, or `pState`, `in` or `out`
 * is not 4-byte aligned; -2 if `rateCode` is above 3, `*lengthWord` or `length` is less than N, a
 * switch is above 1, or `agcTableSel` is not 2, 3 or 4. Pointers are checked first. A refused call
 * writes nothing, neither state nor `out` nor `*lengthWord`.
 */
ARVESSA_API Word16 VORN_Proc(const Word16* in, int length, Word16* out, Word16* lengthWord,
                             VornConfig* cfg);

/* The engine's version: 103. Needs no initialisation and has no other effect. */
ARVESSA_API Word16 VORN_GetVer(void);

#ifdef __cplusplus
}
#endif

#endif /* VORN_H */
