// SPDX-License-Identifier: Apache-2.0
// The entry points: refusals in their order that write nothing, alignment, independence of buffers,
// switches.
#include <algorithm>
#include <cstddef>
#include <memory>
#include <thread>

#include "Arvessa.h"
#include "Vorn.h"
#include "abi/android_log.h"
#include "abi/work_buffer.h"
#include "reference/arvessa.h"
#include "support/signals.h"

namespace arvessa::test {
namespace {

constexpr std::size_t kGuard = 16;

// A buffer between guard bytes, at an address of a given remainder modulo 8.
struct Guarded {
  explicit Guarded(std::size_t size = ARVESSA_WORK_BYTES, std::size_t remainder = 0,
                   unsigned char fill = 0xA5)
      : bytes(size + 3 * kGuard, fill), copy(bytes), used(size) {
    start = kGuard + remainder + (8 - reinterpret_cast<std::uintptr_t>(bytes.data()) % 8) % 8;
  }
  unsigned char* data() { return bytes.data() + start; }
  ArvessaState& state() { return *reinterpret_cast<ArvessaState*>(data()); }
  bool untouched() const { return bytes == copy; }
  bool guardsIntact() {
    std::copy_n(data(), used, copy.data() + start);
    return untouched();
  }

  std::vector<unsigned char> bytes, copy;
  std::size_t used, start;
};

ArvessaConfig frontEnd(Guarded& work, std::uint8_t nr = 1, std::uint8_t engine = 1) {
  return {work.data(), ARVESSA_WORK_BYTES, 0, nr, engine};
}
ArvessaConfig started(Guarded& work, std::uint8_t nr = 1, std::uint8_t engine = 1) {
  ArvessaConfig cfg = frontEnd(work, nr, engine);
  EXPECT_EQ(Arvessa_Init(&cfg), 0);
  return cfg;
}

Samples run(ArvessaConfig& cfg, int frames, std::uint64_t seed = 1) {
  Source first(Signal::kNoisySpeech, 2, seed), second(Signal::kNoise, 2, seed + 1);
  return inFrames(frames, [&](int /*frame*/, Word16* in, Word16* out) {
    std::generate_n(in, 80, [&] { return first.next(); });
    std::generate_n(in + 80, 80, [&] { return second.next(); });
    EXPECT_EQ(Arvessa(in, out, &cfg), 0);
    return 80;
  });
}

// The call has a status of refusal for each of some values of an argument.
template <class T, class Call>
void expectRefused(int status, T& argument, std::initializer_list<std::type_identity_t<T>> values,
                   Call call) {
  const T good = argument;
  for (const T value : values) {
    argument = value;
    EXPECT_EQ(call(), status) << testing::PrintToString(value);
  }
  argument = good;
}

TEST(ArvessaInit, RefusesPointersThenValuesAndWritesNothing) {
  Guarded work;
  ArvessaConfig cfg = frontEnd(work);
  const auto init = [&] {
    const ArvessaConfig before = cfg;
    const auto status = Arvessa_Init(&cfg);
    EXPECT_EQ(std::memcmp(&cfg, &before, sizeof cfg), 0);
    return status;
  };
  expectRefused(-2, cfg.workSize, {8131, 0, -1, -2147483647 - 1}, init);
  expectRefused(-2, cfg.rateCode, {1, 2, 3, 255}, init);
  expectRefused(-2, cfg.nrEnable, {2, 255}, init);
  expectRefused(-2, cfg.engineEnable, {2, 255}, init);
  cfg.workSize = 0;
  unsigned char* const at = work.data();
  expectRefused(-1, cfg.pWork, {nullptr, at + 1, at + 2, at + 3}, init);
  EXPECT_EQ(Arvessa_Init(nullptr), -1);
  EXPECT_TRUE(work.untouched());
}

TEST(ArvessaInit, EqualsTheReferenceAndWritesNothingBeyond) {
  const auto want = std::make_unique<reference::ArvessaState>();
  reference::ArvessaConfig same = {want.get(), ARVESSA_WORK_BYTES, 0, 1, 0};
  ASSERT_EQ(reference::Arvessa_Init(&same), 0);
  for (const std::size_t remainder : {0U, 4U}) {
    SCOPED_TRACE(remainder);
    Guarded work(ARVESSA_WORK_BYTES, remainder);
    ArvessaConfig cfg = started(work, 1, 0);
    ArvessaState& state = work.state();
    EXPECT_EQ(std::memcmp(&state.engine, &want->engine, sizeof state.engine), 0);
    EXPECT_EQ(state.beamformer.beamConfirm, want->beamConfirm);
    VornConfig* engine = vornConfigIn(&state);
    const VornConfig settings = {work.data(), VORN_STATE_BYTES, VORN_CHECK_VALUE, 0, 1, 0, 4};
    EXPECT_EQ(std::memcmp(engine, &settings, offsetof(VornConfig, agcTableSel) + 1), 0);
    run(cfg, 20);
    EXPECT_TRUE(work.guardsIntact());
    // All else is zero.
    cfg = started(work, 1, 0);
    state.engine = {};
    state.beamformer.beamConfirm = 0;
    std::memset(engine, 0, sizeof *engine);
    EXPECT_EQ(std::count(work.data(), work.data() + ARVESSA_WORK_BYTES, 0), ARVESSA_WORK_BYTES);
  }
}

// Whatever the buffer held, and at either alignment: the same output. A second start restarts.
TEST(ArvessaInit, ForgetsWhatTheBufferHeld) {
  Guarded clean(ARVESSA_WORK_BYTES, 0, 0x00), full(ARVESSA_WORK_BYTES, 4, 0xFF), noise;
  Random random(40);
  std::generate_n(noise.data(), ARVESSA_WORK_BYTES, [&] { return random.below(256); });
  ArvessaConfig cfg = started(clean);
  const Samples want = run(cfg, 60);
  for (Guarded* dirty : {&full, &noise, &noise}) {
    ArvessaConfig other = started(*dirty);
    EXPECT_EQ(run(other, 60), want);
  }
}

TEST(ArvessaFrame, RefusesAndChangesNothing) {
  Guarded work;
  ArvessaConfig cfg = started(work);
  run(cfg, 3);
  work.copy = work.bytes;
  alignas(4) Word16 samples[162] = {};
  alignas(4) Word16 result[82];
  std::fill_n(result, 82, 77);
  const Word16* in = samples;
  Word16* out = result;
  ArvessaConfig* config = &cfg;
  const auto frame = [&] { return Arvessa(in, out, config); };
  expectRefused(-1, in, {nullptr, samples + 1}, frame);
  expectRefused(-1, out, {nullptr, result + 1}, frame);
  expectRefused(-1, config, {nullptr}, frame);
  expectRefused(-1, cfg.pWork, {nullptr, work.data() + 2}, frame);
  EXPECT_TRUE(work.untouched());
  EXPECT_EQ(std::count(result, result + 82, 77), 82);
}

TEST(ArvessaFrame, EngineRefusalKeepsTheBeamAndTheCount) {
  Guarded work(ARVESSA_WORK_BYTES, 0, 0x00), beamWork(ARVESSA_WORK_BYTES, 0, 0x00);
  ArvessaConfig cfg = frontEnd(work), beamAlone = frontEnd(beamWork, 1, 0);  // never prepared
  alignas(4) Word16 in[160];
  alignas(4) Word16 out[80];
  alignas(4) Word16 beam[80];
  std::fill_n(in, 160, 1000);
  EXPECT_EQ(Arvessa(in, out, &cfg), -1);
  EXPECT_EQ(work.state().beamformer.frameCount, 0U);
  EXPECT_EQ(work.state().beamformer.mic1History[23], 1000);
  EXPECT_EQ(Arvessa(in, beam, &beamAlone), 0);
  expectSameArray(out, beam, "out keeps the beamformed frame");
  cfg = started(work);
  vornConfigIn(&work.state())->agcTableSel = 5;
  EXPECT_EQ(Arvessa(in, out, &cfg), -2);
  EXPECT_EQ(work.state().beamformer.frameCount, 0U);
}

// Started without the engine, its gain control stays off; without suppression it passes the frame.
TEST(ArvessaFrame, EngineCanBeSwitchedOnLater) {
  Guarded works[2];
  Samples out[2];
  for (const int on : {0, 1}) {
    ArvessaConfig cfg = started(works[on], 0, 0);
    cfg.engineEnable = static_cast<uint8_t>(on);
    out[on] = run(cfg, 10);
    EXPECT_EQ(works[on].state().engine.noiseReduction.frameCountSat, 10 * on);
  }
  EXPECT_EQ(out[0], out[1]);
}

TEST(ArvessaFrame, OutputMayReplaceInput) {
  Random random(41);
  Guarded apart, inPlace;
  ArvessaConfig cfg = started(apart), same = started(inPlace);
  for (int place = 0; place <= 80; place += 2) {
    alignas(4) Word16 buffer[160];
    alignas(4) Word16 want[80];
    for (Word16& x : buffer) x = random.wordOf(12);
    ASSERT_EQ(Arvessa(buffer, want, &cfg), 0);
    ASSERT_EQ(Arvessa(buffer, buffer + place, &same), 0);
    expectSameArray(buffer + place, want, 80, "out");
  }
}

// Buffers do not know of each other.
TEST(ArvessaFrame, RunsOnTwoThreads) {
  const auto separate = [](std::uint64_t seed) {
    Guarded work;
    ArvessaConfig cfg = started(work);
    return run(cfg, 100, seed);
  };
  const Samples one = separate(1);  // loads the recording
  const Samples two = separate(2);
  EXPECT_NE(one, two);
  std::thread other([&] { EXPECT_EQ(separate(2), two); });
  EXPECT_EQ(separate(1), one);
  other.join();
}

// One line in logcat's brief format, on every call, from the stand-in for the platform's log.
TEST(ArvessaVersion, IsLogged) {
  const auto logged = [](auto call) {
    testing::internal::CaptureStderr();
    call();
    return testing::internal::GetCapturedStderr();
  };
  const std::string version = "D/Arvessa: Arvessa_GetVer:100!\n";
  EXPECT_EQ(logged([] { EXPECT_EQ(Arvessa_GetVer() + Arvessa_GetVer(), 200); }), version + version);
  EXPECT_EQ(logged([] { __android_log_print(8, "tag", "%d", 5); }), "S/tag: 5\n");
  EXPECT_EQ(logged([] { __android_log_print(9, "tag", "5"); }), "?/tag: 5\n");
  EXPECT_EQ(logged([] { __android_log_print(-1, "tag", "5"); }), "?/tag: 5\n");
  // Cut to 255 characters, the last of which is a line feed, and that is not printed twice.
  const std::string line(254, 'x');
  EXPECT_EQ(logged([&] { __android_log_print(3, "", "%s\nmore", line.c_str()); }),
            "D/: " + line + '\n');
  EXPECT_EQ(logged([] { EXPECT_LT(__android_log_print(3, "", "%lc", 0x7FFFFFFF), 0); }), "");
}

TEST(VornInit, RefusesPointersThenValuesAndWritesNothing) {
  Guarded memory(VORN_STATE_BYTES);
  VornConfig cfg = {memory.data(), VORN_STATE_BYTES, VORN_CHECK_VALUE, 9, 9, 9, 9};
  const auto init = [&] { return VORN_Init(&cfg); };
  expectRefused(-2, cfg.checkValue, {19, 21}, init);
  expectRefused(-2, cfg.stateSize, {7887, -1}, init);
  cfg.checkValue = 0;
  expectRefused(-1, cfg.pState, {nullptr, memory.data() + 2}, init);
  EXPECT_EQ(VORN_Init(nullptr), -1);
  EXPECT_TRUE(memory.untouched());
  cfg.checkValue = VORN_CHECK_VALUE;
  EXPECT_EQ(init(), 0) << "the other fields are not looked at";
  EXPECT_TRUE(memory.guardsIntact());
  EXPECT_EQ(VORN_GetVer(), 103);
}

TEST(VornFrame, RefusesPointersThenValuesAndWritesNothing) {
  Guarded memory(VORN_STATE_BYTES, 4);
  VornConfig cfg = {memory.data(), VORN_STATE_BYTES, VORN_CHECK_VALUE, 2, 1, 1, 4};
  ASSERT_EQ(VORN_Init(&cfg), 0);
  memory.copy = memory.bytes;
  alignas(4) Word16 samples[642] = {};
  alignas(4) Word16 result[642];
  std::fill_n(result, 642, 77);
  const Word16* in = samples;
  Word16* out = result;
  VornConfig* config = &cfg;
  Word16 capacity = 640;
  Word16* word = &capacity;
  int length = 640;
  const auto frame = [&] { return VORN_Proc(in, length, out, word, config); };
  expectRefused(-2, cfg.rateCode, {4, 255}, frame);
  expectRefused(-2, capacity, {319, 0, -1}, frame);
  expectRefused(-2, length, {319, 0, -1}, frame);
  expectRefused(-2, cfg.nrEnable, {2, 255}, frame);
  expectRefused(-2, cfg.agcEnable, {2, 255}, frame);
  cfg.agcEnable = 0;
  expectRefused(-2, cfg.agcTableSel, {0, 1, 5, 255}, frame);
  cfg.rateCode = 9;
  expectRefused(-1, in, {nullptr, samples + 1}, frame);
  expectRefused(-1, out, {nullptr, result + 1}, frame);
  expectRefused(-1, word, {nullptr}, frame);
  expectRefused(-1, config, {nullptr}, frame);
  expectRefused(-1, cfg.pState, {nullptr, memory.data() + 2}, frame);
  EXPECT_TRUE(memory.untouched());
  EXPECT_EQ(capacity, 640);
  EXPECT_EQ(std::count(result, result + 642, 77), 642);

  cfg.rateCode = 2;
  length = capacity = 482;
  EXPECT_EQ(frame(), 0);
  EXPECT_EQ(capacity, 320);
  EXPECT_EQ(result[319], 0);
  EXPECT_EQ(result[320], 77) << "samples beyond the frame";
  EXPECT_TRUE(memory.guardsIntact());
}

}  // namespace
}  // namespace arvessa::test
