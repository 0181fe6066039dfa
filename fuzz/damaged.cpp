// SPDX-License-Identifier: Apache-2.0
// Any bytes in the work buffer and in the engine's state between the calls. What comes out is not
// looked at; sanitizers see accesses outside and undefined behaviour, and a time limit endless loops.
#include "Arvessa.h"
#include "Vorn.h"
#include "streams.h"

namespace arvessa::fuzz {
namespace {

Count framesExecuted("frames of damaged buffers");

void damage(Random& random, Memory& memory) {
  unsigned char* const bytes = memory.data();
  const auto size = static_cast<int>(memory.size());
  const int kind = random.below(8);
  if (kind == 0) {  // everywhere
    for (int i = 0; i < size; ++i) bytes[i] = static_cast<unsigned char>(random.below(256));
  }
  if (kind == 1) std::memset(bytes, random.below(2) == 0 ? 0x7F : random.below(256), memory.size());
  for (int words = kind < 6 ? random.below(20) : 0; words > 0; --words) {
    // The fields that are no arrays lie at the end of the state and of the buffer.
    const int last = random.below(2) == 0 ? size : 400;
    const Word32 word = random.word32();
    const int at = 2 * random.below(last / 2 - 1);
    std::memcpy(bytes + (last == size ? at : size - last + at), &word, sizeof word);
  }
}

void expectStatus(intptr_t status) { expect(status <= 0 && status >= -2, "status"); }

}  // namespace

void runInput(std::span<const std::uint8_t> bytes) {
  Random random(bytes);
  Memory work(ARVESSA_WORK_BYTES, random), state(VORN_STATE_BYTES, random);
  ArvessaConfig frontEnd = {work.data(), ARVESSA_WORK_BYTES, 0, 1, 1};
  VornConfig engine = {state.data(), VORN_STATE_BYTES, VORN_CHECK_VALUE, 0, 1, 1, 4};
  expectStatus(Arvessa_Init(&frontEnd) | VORN_Init(&engine));
  Signal first(random), second(random);
  for (int frames = 20; frames > 0 || (frames > -100 && random.isGiven()); --frames) {
    alignas(4) Word16 in[VORN_MAX_FRAME_SAMPLES];
    alignas(4) Word16 out[VORN_MAX_FRAME_SAMPLES];
    for (Word16& sample : in) sample = (&sample < in + 80 ? first : second).next();
    framesExecuted += 1;
    if (random.below(2) == 0) {
      damage(random, work);
      frontEnd.engineEnable = random.below(8) == 0 ? 0 : 1;
      expectStatus(Arvessa(in, out, &frontEnd));
      work.expectLeadIsIntact();
      continue;
    }
    damage(random, state);
    engine.rateCode = static_cast<std::uint8_t>(random.below(4));
    engine.nrEnable = random.below(4) == 0 ? 0 : 1;
    engine.agcEnable = random.below(4) == 0 ? 0 : 1;
    engine.agcTableSel = static_cast<std::uint8_t>(random.from(2, 4));
    Word16 length = VORN_MAX_FRAME_SAMPLES;
    expectStatus(VORN_Proc(in, VORN_MAX_FRAME_SAMPLES, out, &length, &engine));
    state.expectLeadIsIntact();
  }
}

}  // namespace arvessa::fuzz
