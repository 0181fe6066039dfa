/* SPDX-License-Identifier: Apache-2.0 */
/* The whole interface from C99. */
#include <Arvessa.h>
#include <Vorn.h>
#include <stdio.h>

static uint32_t work[(ARVESSA_WORK_BYTES + 3) / 4];
static uint32_t state[VORN_STATE_BYTES / 4];
static union {
  uint32_t align;
  Word16 samples[VORN_MAX_FRAME_SAMPLES];
} in, out;

int main(void) {
  ArvessaConfig cfg = {work, sizeof work, 0, 1, 1};
  VornConfig engine = {state, sizeof state, VORN_CHECK_VALUE, 3, 1, 1, 2};
  Word16 length = VORN_MAX_FRAME_SAMPLES;
  if (ARVESSA_WORK_BYTES != 8132 || VORN_STATE_BYTES != 7888 || ARVESSA_FRAME_SAMPLES != 80 ||
      ARVESSA_BEAM_LATENCY != 24 || ARVESSA_ENGINE_LATENCY != 48) {
    return 1;
  }
  if (Arvessa_Init(&cfg) != 0 || Arvessa(in.samples, out.samples, &cfg) != 0) return 2;
  if (VORN_Init(&engine) != 0) return 3;
  if (VORN_Proc(in.samples, 480, out.samples, &length, &engine) != 0 || length != 480) return 4;
  printf("%d %d\n", (int)Arvessa_GetVer(), VORN_GetVer());
  return 0;
}
