// SPDX-License-Identifier: Apache-2.0
// Stack use of the deepest calls, by painting a thread's stack.
#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "Arvessa.h"
#include "Vorn.h"

namespace {

constexpr std::size_t kStack = std::size_t{512} * 1024;
constexpr unsigned char kPaint = 0xC5;
constexpr int kLimit = 16 * 1024;

struct Case {
  int rateCode;  // of the engine alone; -1: the front end with the engine
  int amplitude;
  std::uintptr_t top = 0;
};

void process(const Case& c) {
  static std::uint32_t memory[(ARVESSA_WORK_BYTES + 3) / 4];
  alignas(4) static Word16 in[480];
  alignas(4) static Word16 out[480];
  for (int i = 0; i < 480; ++i)
    in[i] = static_cast<Word16>(i * i % 3 == 0 ? c.amplitude : -c.amplitude);
  if (c.rateCode < 0) {
    ArvessaConfig cfg = {memory, ARVESSA_WORK_BYTES, 0, 1, 1};
    Arvessa_Init(&cfg);
    for (int i = 0; i < 20; ++i) Arvessa(in, out, &cfg);
    Arvessa_GetVer();
    return;
  }
  VornConfig cfg = {
      memory, VORN_STATE_BYTES, VORN_CHECK_VALUE, static_cast<uint8_t>(c.rateCode), 1, 1, 4};
  VORN_Init(&cfg);
  for (int i = 0; i < 20; ++i) {
    Word16 length = 480;
    VORN_Proc(in, 480, out, &length, &cfg);
  }
}

void* measured(void* argument) {
  auto* c = static_cast<Case*>(argument);
  unsigned char here = 0;
  c->top = reinterpret_cast<std::uintptr_t>(&here);
  process(*c);
  return nullptr;
}

// Bytes of stack that one stream touches below its caller.
int stackOf(Case c) {
  process(c);  // the dynamic linker's own use of the stack is over after the first call
  void* stack = nullptr;
  EXPECT_EQ(posix_memalign(&stack, 65536, kStack), 0);
  std::memset(stack, kPaint, kStack);
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  EXPECT_EQ(pthread_attr_setstack(&attributes, stack, kStack), 0);
  pthread_t thread;
  EXPECT_EQ(pthread_create(&thread, &attributes, measured, &c), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
  const auto* bytes = static_cast<const unsigned char*>(stack);
  std::size_t lowest = 0;
  while (lowest < kStack && bytes[lowest] == kPaint) ++lowest;
  const auto used = static_cast<int>(c.top - (reinterpret_cast<std::uintptr_t>(stack) + lowest));
  std::free(stack);
  return used;
}

TEST(Stack, DeepestCallIsBelowItsLimit) {
  int deepest = 0;
  for (const int amplitude : {0, 1000, 32767}) {
    for (int rateCode = -1; rateCode <= 3; ++rateCode) {
      const int used = stackOf({rateCode, amplitude});
      EXPECT_LT(used, kLimit) << "rate code " << rateCode << ", amplitude " << amplitude;
      EXPECT_GT(used, 4000) << "less than the frame's buffers: the paint shows nothing";
      deepest = std::max(deepest, used);
    }
  }
  std::printf("deepest call: %d bytes\n", deepest);
}

}  // namespace
