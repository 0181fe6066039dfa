// SPDX-License-Identifier: Apache-2.0
// A program of calls of both entry points on several buffers, beside the reference: switches and rates
// that change, refused arguments, output in place of input. After every call the status, all frame
// memory and every byte of the buffers are those of the reference.
#include <cstddef>
#include <utility>

#include "Arvessa.h"
#include "Vorn.h"
#include "abi/work_buffer.h"
#include "reference/arvessa.h"
#include "reference/engine.h"
#include "streams.h"

namespace arvessa::fuzz {
namespace {

static_assert(sizeof(::WvqeState) == sizeof(reference::WvqeState), "same fields, same order");

Count framesExecuted("frames beside the reference");
Count callsRefused("calls refused");

// The arguments of a call: one call in eight has some that may be refused.
class Arguments {
 public:
  explicit Arguments(Random& numbers) : random_(numbers), faulty_(numbers.below(8) == 0) {}

  bool isWrong() { return faulty_ && random_.below(4) == 0; }
  // `good`, or another value.
  template <class T>
  T value(T good, std::initializer_list<std::type_identity_t<T>> others) {
    return isWrong() ? std::data(others)[random_.below(static_cast<int>(others.size()))] : good;
  }
  // Two pointers become null or are misaligned.
  template <class Ours, class Wanted>
  void draw(Ours*& ours, Wanted*& wanted) {
    if (!isWrong()) return;
    const auto offset = static_cast<std::uintptr_t>(random_.below(4));
    const auto moved = [offset](auto* pointer) {
      return offset == 0 ? nullptr
                         : reinterpret_cast<decltype(pointer)>(
                               reinterpret_cast<std::uintptr_t>(pointer) + offset);
    };
    ours = moved(ours);
    wanted = moved(wanted);
  }

 private:
  Random& random_;
  bool faulty_;
};

// The memory of a frame, of which the input or the output lies at the end; they may overlap.
struct Frame {
  Frame(Random& random, Signal& first, Signal& second, int samples, int outputs, bool mayOverlap) {
    const int lead = 2 * random.below(3);
    in = lead + outputs;
    out = mayOverlap             ? lead + 2 * random.below((samples + outputs) / 2 + 1)
          : random.below(2) == 0 ? lead
                                 : in + samples;
    ours.assign(std::max(in + samples, out + outputs), 77);
    for (int i = 0; i < samples; ++i) ours[in + i] = (i < outputs ? first : second).next();
    wanted = ours;
  }
  void expectSame() const { fuzz::expectSame(ours, wanted, "frame memory"); }
  std::vector<Word16> ours, wanted;
  int in, out;
};

// The library's buffer and the reference's state.
template <class State>
struct Buffer {
  explicit Buffer(std::size_t size, Random& random)
      : ours(size, random), isKnown(ours.fill() == 0) {
    std::memset(&wanted, 0, sizeof wanted);  // bytes between the fields, too
  }
  // Nothing has been written to a buffer that is not known.
  void expectSame(std::vector<unsigned char> want) {
    if (!isKnown) want.assign(ours.size(), ours.fill());
    fuzz::expectSame(ours.contents(), want, "buffer");
    ours.expectLeadIsIntact();
  }

  Memory ours;
  State wanted;
  bool isKnown;  // what it holds
};

struct Work : Buffer<reference::ArvessaState> {
  explicit Work(Random& random) : Buffer(ARVESSA_WORK_BYTES, random) {}
  ArvessaState& state() { return *reinterpret_cast<ArvessaState*>(ours.data()); }
};
struct Engine : Buffer<reference::WvqeState> {
  explicit Engine(Random& random) : Buffer(VORN_STATE_BYTES, random) {}
};

// The fields of the beamformer have one order and no gaps.
constexpr std::size_t kBeamformerBytes = offsetof(BeamformerState, beamConfirm) + sizeof(Word16);
static_assert(kBeamformerBytes == offsetof(reference::ArvessaState, beamConfirm) + sizeof(Word16) -
                                      offsetof(reference::ArvessaState, mic1History));

// The work buffer is what the reference's state says: what no field uses is 0.
void expectSame(Work& work) {
  std::vector<unsigned char> want(ARVESSA_WORK_BYTES);
  std::memcpy(want.data(), &work.wanted.engine, sizeof work.wanted.engine);
  std::memcpy(want.data() + VORN_STATE_BYTES, work.wanted.mic1History, kBeamformerBytes);
  const reference::VornConfig& settings = work.wanted.vornConfig;
  if (settings.pState != nullptr) {
    VornConfig record;
    std::memset(&record, 0, sizeof record);
    record.pState = work.ours.data();
    record.stateSize = settings.stateSize;
    record.checkValue = settings.checkValue;
    record.rateCode = settings.rateCode;
    record.nrEnable = settings.nrEnable;
    record.agcEnable = settings.agcEnable;
    record.agcTableSel = settings.agcTableSel;
    const auto* const place = reinterpret_cast<unsigned char*>(vornConfigIn(&work.state()));
    std::memcpy(want.data() + (place - work.ours.data()), &record, sizeof record);
  }
  work.expectSame(std::move(want));
}

// Behind its fields the state keeps what was there.
void expectSame(Engine& engine) {
  std::vector<unsigned char> want(VORN_STATE_BYTES, engine.ours.fill());
  std::memcpy(want.data(), &engine.wanted, sizeof engine.wanted);
  engine.expectSame(std::move(want));
}

void expectStatus(intptr_t got, intptr_t want) {
  expect(got == want, "status");
  if (got != 0) callsRefused += 1;
}

void startFrontEnd(Random& random, Work& work) {
  Arguments argument(random);
  ::ArvessaConfig cfg = {work.ours.data(),
                         argument.value(ARVESSA_WORK_BYTES, {8131, 0, -1, -2147483647 - 1, 8133}),
                         argument.value<std::uint8_t>(0, {1, 2, 3, 255}),
                         argument.value<std::uint8_t>(random.below(2), {2, 255}),
                         argument.value<std::uint8_t>(random.below(2), {2, 255})};
  reference::ArvessaConfig same = {&work.wanted, cfg.workSize, cfg.rateCode, cfg.nrEnable,
                                   cfg.engineEnable};
  argument.draw(cfg.pWork, same.pWork);
  const bool isNull = argument.isWrong();
  const auto status = Arvessa_Init(isNull ? nullptr : &cfg);
  expectStatus(status, reference::Arvessa_Init(isNull ? nullptr : &same));
  work.isKnown |= status == 0;
  expectSame(work);
}

void frontEndFrames(Random& random, Work& work, int frames) {
  Signal first(random), second(random);
  const auto on = static_cast<std::uint8_t>(random.below(2));
  for (; frames > 0; --frames) {
    Arguments argument(random);
    ::ArvessaConfig cfg = {work.ours.data(), -1, 9, 9, argument.value(on, {2, 255})};
    reference::ArvessaConfig same = {&work.wanted, -1, 9, 9, cfg.engineEnable};
    Frame frame(random, first, second, 160, 80, true);
    const Word16 *in = &frame.ours[frame.in], *wantedIn = &frame.wanted[frame.in];
    Word16 *out = &frame.ours[frame.out], *wantedOut = &frame.wanted[frame.out];
    argument.draw(cfg.pWork, same.pWork);
    argument.draw(in, wantedIn);
    argument.draw(out, wantedOut);
    const bool isNull = argument.isWrong();
    expectStatus(Arvessa(in, out, isNull ? nullptr : &cfg),
                 reference::Arvessa(wantedIn, wantedOut, isNull ? nullptr : &same));
    frame.expectSame();
    expectSame(work);
    framesExecuted += 1;
  }
}

// As if many frames had passed.
void age(Random& random, Work& work) {
  const auto frames = static_cast<std::uint32_t>(random.word32());
  work.state().beamformer.frameCount = work.wanted.frameCount = frames;
  work.state().engine.noiseReduction.frameCountSat = work.wanted.engine.frameCountSat =
      static_cast<std::uint16_t>(std::clamp(frames, 1U, 32767U));
}

void callFrontEnd(Random& random, Work& work, int frames) {
  if (random.below(4) == 0) return startFrontEnd(random, work);
  if (!work.isKnown) return;
  if (random.below(8) == 0) age(random, work);
  frontEndFrames(random, work, frames);
}

void startEngine(Random& random, Engine& engine) {
  Arguments argument(random);
  ::VornConfig cfg = {engine.ours.data(),
                      argument.value(VORN_STATE_BYTES, {7887, 0, -1, 7889}),
                      argument.value<std::int16_t>(20, {19, 21}),
                      9,
                      9,
                      9,
                      9};
  reference::VornConfig same = {&engine.wanted, cfg.stateSize, cfg.checkValue, 9, 9, 9, 9};
  argument.draw(cfg.pState, same.pState);
  const bool isNull = argument.isWrong();
  const auto status = VORN_Init(isNull ? nullptr : &cfg);
  expectStatus(status, reference::VORN_Init(isNull ? nullptr : &same));
  engine.isKnown |= status == 0;
  expectSame(engine);
}

void engineFrames(Random& random, Engine& engine, int frames) {
  Signal signal(random);
  const auto rate = static_cast<std::uint8_t>(random.below(4));
  const auto nr = static_cast<std::uint8_t>(random.below(2));
  const auto agc = static_cast<std::uint8_t>(random.below(2));
  const auto table = static_cast<std::uint8_t>(random.from(2, 4));
  const auto samples = static_cast<Word16>(rate == 0 ? 80 : 160 * rate);
  for (; frames > 0; --frames) {
    Arguments argument(random);
    ::VornConfig cfg = {engine.ours.data(),
                        -1,
                        0,
                        argument.value(rate, {4, 255}),
                        argument.value(nr, {2, 255}),
                        argument.value(agc, {2, 255}),
                        argument.value(table, {0, 1, 5, 255})};
    reference::VornConfig same = {&engine.wanted, -1, 0, cfg.rateCode, cfg.nrEnable, cfg.agcEnable,
                                  cfg.agcTableSel};
    Frame frame(random, signal, signal, samples, samples, false);
    const Word16 *in = &frame.ours[frame.in], *wantedIn = &frame.wanted[frame.in];
    Word16 *out = &frame.ours[frame.out], *wantedOut = &frame.wanted[frame.out];
    const int length = argument.value<int>(samples, {samples - 1, 0, -1, samples + 1, 1 << 30});
    Word16 capacity = argument.value(samples, {79, 0, -1, 481, 32767});
    Word16 wantedCapacity = capacity;
    Word16 *word = &capacity, *wantedWord = &wantedCapacity;
    argument.draw(cfg.pState, same.pState);
    argument.draw(in, wantedIn);
    argument.draw(out, wantedOut);
    if (argument.isWrong()) word = wantedWord = nullptr;
    const bool isNull = argument.isWrong();
    expectStatus(
        VORN_Proc(in, length, out, word, isNull ? nullptr : &cfg),
        reference::VORN_Proc(wantedIn, length, wantedOut, wantedWord, isNull ? nullptr : &same));
    expect(capacity == wantedCapacity, "length word");
    frame.expectSame();
    expectSame(engine);
    framesExecuted += 1;
  }
}

void callEngine(Random& random, Engine& engine, int frames) {
  if (random.below(4) == 0) return startEngine(random, engine);
  if (engine.isKnown) engineFrames(random, engine, frames);
}

}  // namespace

void runInput(std::span<const std::uint8_t> bytes) {
  Random random(bytes);
  Work works[2] = {Work(random), Work(random)};
  Engine engines[2] = {Engine(random), Engine(random)};
  for (int calls = 8; calls > 0 || (calls > -30 && random.isGiven()); --calls) {
    const int which = random.below(2);
    const int frames = 1 + random.below(random.below(8) == 0 ? 250 : 20);
    if (random.below(3) == 0) {
      callFrontEnd(random, works[which], frames);
    } else {
      callEngine(random, engines[which], frames);
    }
  }
}

}  // namespace arvessa::fuzz
