// SPDX-License-Identifier: Apache-2.0
// The native half of arvessa.FrontEnd. The work buffer holds a pointer to itself, so it must not lie in
// a Java array, which the collector may move.
#include <Arvessa.h>
#include <jni.h>
#include <stdlib.h>

typedef struct {
  uint32_t work[(ARVESSA_WORK_BYTES + 3) / 4];
  ArvessaConfig config;
} Stream;

// Java keeps the address in a long.
static Stream* streamOf(jlong handle) {
  return (Stream*)(intptr_t)handle;  // NOLINT(performance-no-int-to-ptr)
}

JNIEXPORT jlong JNICALL Java_arvessa_FrontEnd_open(JNIEnv* env, jclass type, jboolean suppressNoise,
                                                   jboolean enhance) {
  (void)env, (void)type;
  Stream* stream = malloc(sizeof *stream);
  if (stream == NULL) return 0;
  stream->config = (ArvessaConfig){stream->work, ARVESSA_WORK_BYTES, 0, suppressNoise, enhance};
  if (Arvessa_Init(&stream->config) != 0) {
    free(stream);
    return 0;
  }
  return (jlong)(intptr_t)stream;
}

JNIEXPORT jint JNICALL Java_arvessa_FrontEnd_process__J_3S_3S(JNIEnv* env, jclass type,
                                                              jlong handle, jshortArray interleaved,
                                                              jshortArray out) {
  (void)type;
  enum { kFrame = ARVESSA_FRAME_SAMPLES };
  Stream* stream = streamOf(handle);
  jshort pairs[2 * kFrame];
  _Alignas(4) Word16 mics[2 * kFrame];
  _Alignas(4) Word16 clean[kFrame];
  (*env)->GetShortArrayRegion(env, interleaved, 0, 2 * kFrame, pairs);
  for (int i = 0; i < kFrame; ++i) {
    mics[i] = pairs[2 * i];
    mics[kFrame + i] = pairs[2 * i + 1];
  }
  intptr_t status = Arvessa(mics, clean, &stream->config);
  if (status == 0) (*env)->SetShortArrayRegion(env, out, 0, kFrame, clean);
  return (jint)status;
}

JNIEXPORT void JNICALL Java_arvessa_FrontEnd_close__J(JNIEnv* env, jclass type, jlong handle) {
  (void)env, (void)type;
  free(streamOf(handle));
}
