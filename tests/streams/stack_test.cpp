// SPDX-License-Identifier: Apache-2.0
// Stack use of the deepest calls, by painting a thread's stack.
#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>

#include "Arvessa.h"
#include "Vorn.h"

namespace {

constexpr std::size_t kStack = std::size_t{512} * 1024;
constexpr unsigned char kPaint = 0xC5;
constexpr int kLimit = 16 * 1024;

// `rateCode` of the engine alone; -1: the front end with the engine.
void process(int rateCode, int amplitude) {
  static std::uint32_t memory[(ARVESSA_WORK_BYTES + 3) / 4];
  alignas(4) static Word16 in[480];
  alignas(4) static Word16 out[480];
  for (int i = 0; i < 480; ++i) in[i] = static_cast<Word16>(i % 3 == 0 ? amplitude : -amplitude);
  ArvessaConfig frontEnd = {memory, ARVESSA_WORK_BYTES, 0, 1, 1};
  VornConfig engine = {
      memory, VORN_STATE_BYTES, VORN_CHECK_VALUE, static_cast<uint8_t>(rateCode), 1, 1, 4};
  EXPECT_EQ(rateCode < 0 ? Arvessa_Init(&frontEnd) : VORN_Init(&engine), 0);
  for (int i = 0; i < 20; ++i) {
    Word16 length = 480;
    EXPECT_EQ(
        rateCode < 0 ? Arvessa(in, out, &frontEnd) : VORN_Proc(in, 480, out, &length, &engine), 0);
  }
  if (rateCode < 0) Arvessa_GetVer();
}

// Bytes of stack that one stream touches below its caller.
int stackOf(int rateCode, int amplitude) {
  process(rateCode, amplitude);  // after the first call the dynamic linker needs none
  struct Call {
    int rateCode, amplitude;
    const unsigned char* top;
  } call = {rateCode, amplitude, nullptr};
  alignas(65536) static unsigned char stack[kStack];
  std::fill_n(stack, kStack, kPaint);
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  EXPECT_EQ(pthread_attr_setstack(&attributes, stack, kStack), 0);
  pthread_t thread;
  const auto run = [](void* argument) -> void* {
    const unsigned char here = 0;
    auto* c = static_cast<Call*>(argument);
    c->top = &here;
    process(c->rateCode, c->amplitude);
    return nullptr;
  };
  EXPECT_EQ(pthread_create(&thread, &attributes, run, &call), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
  const auto* lowest =
      std::find_if(stack, stack + kStack, [](unsigned char byte) { return byte != kPaint; });
  return static_cast<int>(call.top - lowest);
}

TEST(Stack, DeepestCallIsBelowItsLimit) {
  int deepest = 0;
  for (const int amplitude : {0, 1000, 32767}) {
    for (int rateCode = -1; rateCode <= 3; ++rateCode) {
      const int used = stackOf(rateCode, amplitude);
      EXPECT_LT(used, kLimit) << "rate code " << rateCode << ", amplitude " << amplitude;
      EXPECT_GT(used, 4000) << "less than the frame's buffers: the paint shows nothing";
      deepest = std::max(deepest, used);
    }
  }
  std::printf("deepest call: %d bytes\n", deepest);
}

}  // namespace
