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

constexpr unsigned char kPattern = 0xA5;

// Memory with guard bytes around it, at an address of a given remainder modulo 8.
class Guarded {
 public:
  Guarded(std::size_t size, std::size_t remainder, unsigned char fill = kPattern)
      : size_(size), start_(16 + remainder), bytes_(size + 48, fill) {
    start_ += (8 - reinterpret_cast<std::uintptr_t>(bytes_.data()) % 8) % 8;
    copy_ = bytes_;
  }
  void* data() { return bytes_.data() + start_; }
  ArvessaState& state() { return *static_cast<ArvessaState*>(data()); }
  bool untouched() const { return bytes_ == copy_; }
  void remember() { copy_ = bytes_; }
  bool guardsIntact() const {
    for (std::size_t i = 0; i < bytes_.size(); ++i) {
      if ((i < start_ || i >= start_ + size_) && bytes_[i] != copy_[i]) return false;
    }
    return true;
  }

 private:
  std::size_t size_;
  std::size_t start_;
  std::vector<unsigned char> bytes_;
  std::vector<unsigned char> copy_;
};

ArvessaConfig frontEnd(Guarded& work, int nr = 1, int engine = 1) {
  return {work.data(), ARVESSA_WORK_BYTES, 0, static_cast<uint8_t>(nr),
          static_cast<uint8_t>(engine)};
}

void misalign(void*& pointer, int by = 2) { pointer = static_cast<char*>(pointer) + by; }

Samples run(ArvessaConfig& cfg, int frames, std::uint64_t seed = 1) {
  Source first(Signal::kNoisySpeech, 2, seed);
  Source second(Signal::kNoise, 2, seed + 1);
  Samples all;
  for (int frame = 0; frame < frames; ++frame) {
    alignas(4) Word16 in[160];
    alignas(4) Word16 out[80];
    for (int i = 0; i < 80; ++i) in[i] = first.next();
    for (int i = 0; i < 80; ++i) in[80 + i] = second.next();
    EXPECT_EQ(Arvessa(in, out, &cfg), 0);
    all.insert(all.end(), out, out + 80);
  }
  return all;
}

TEST(ArvessaInit, RefusesInOrderAndWritesNothing) {
  Guarded work(ARVESSA_WORK_BYTES, 0);
  const auto status = [&](auto change) {
    ArvessaConfig cfg = frontEnd(work);
    change(cfg);
    const ArvessaConfig before = cfg;
    const intptr_t result = Arvessa_Init(&cfg);
    EXPECT_TRUE(work.untouched());
    EXPECT_EQ(std::memcmp(&cfg, &before, sizeof cfg), 0);
    return result;
  };
  EXPECT_EQ(Arvessa_Init(nullptr), -1);
  EXPECT_EQ(status([](auto& c) { c.pWork = nullptr; }), -1);
  for (int offset = 1; offset < 4; ++offset) {
    // The pointer is judged first.
    EXPECT_EQ(status([&](auto& c) { misalign(c.pWork, offset), c.workSize = 0; }), -1);
  }
  for (const int size : {8131, 0, -1, -2147483647 - 1}) {
    EXPECT_EQ(status([&](auto& c) { c.workSize = size; }), -2) << size;
  }
  for (const int rate : {1, 2, 3, 255}) {
    EXPECT_EQ(status([&](auto& c) { c.rateCode = static_cast<uint8_t>(rate); }), -2) << rate;
  }
  EXPECT_EQ(status([](auto& c) { c.nrEnable = 2; }), -2);
  EXPECT_EQ(status([](auto& c) { c.engineEnable = 2; }), -2);
}

TEST(ArvessaInit, EqualsTheReferenceAndWritesNothingBeyond) {
  const auto want = std::make_unique<reference::ArvessaState>();
  reference::ArvessaConfig same = {want.get(), ARVESSA_WORK_BYTES, 0, 1, 0};
  ASSERT_EQ(reference::Arvessa_Init(&same), 0);
  for (const std::size_t remainder : {0U, 4U}) {
    SCOPED_TRACE(remainder);
    Guarded work(ARVESSA_WORK_BYTES, remainder);
    ArvessaConfig cfg = frontEnd(work, 1, 0);
    ASSERT_EQ(Arvessa_Init(&cfg), 0);
    const ArvessaState& state = work.state();
    EXPECT_EQ(std::memcmp(&state.engine, &want->engine, sizeof state.engine), 0);
    EXPECT_EQ(state.beamformer.beamConfirm, want->beamConfirm);
    VornConfig* engine = vornConfigIn(&work.state());
    const VornConfig settings = {work.data(), VORN_STATE_BYTES, VORN_CHECK_VALUE, 0, 1, 0, 4};
    EXPECT_EQ(std::memcmp(engine, &settings, offsetof(VornConfig, agcTableSel) + 1), 0);
    run(cfg, 20);
    EXPECT_TRUE(work.guardsIntact());
    // All else is zero.
    ASSERT_EQ(Arvessa_Init(&cfg), 0);
    work.state().engine = {};
    work.state().beamformer.beamConfirm = 0;
    std::memset(engine, 0, sizeof *engine);
    const auto* bytes = static_cast<const unsigned char*>(work.data());
    EXPECT_EQ(std::count(bytes, bytes + ARVESSA_WORK_BYTES, 0), ARVESSA_WORK_BYTES);
  }
}

// Whatever the buffer held, and at either alignment: the same output. A second start restarts.
TEST(ArvessaInit, ForgetsWhatTheBufferHeld) {
  Guarded clean(ARVESSA_WORK_BYTES, 0, 0x00);
  ArvessaConfig cfg = frontEnd(clean);
  ASSERT_EQ(Arvessa_Init(&cfg), 0);
  const Samples want = run(cfg, 60);
  Random random(40);
  for (const bool noise : {false, true}) {
    Guarded dirty(ARVESSA_WORK_BYTES, 4, 0xFF);
    auto* bytes = static_cast<unsigned char*>(dirty.data());
    for (int i = 0; noise && i < ARVESSA_WORK_BYTES; ++i)
      bytes[i] = static_cast<unsigned char>(random.next());
    ArvessaConfig other = frontEnd(dirty);
    ASSERT_EQ(Arvessa_Init(&other), 0);
    EXPECT_EQ(run(other, 60), want);
    ASSERT_EQ(Arvessa_Init(&other), 0);
    EXPECT_EQ(run(other, 60), want) << "second start";
  }
}

TEST(ArvessaFrame, RefusesAndChangesNothing) {
  Guarded work(ARVESSA_WORK_BYTES, 0);
  ArvessaConfig cfg = frontEnd(work);
  ASSERT_EQ(Arvessa_Init(&cfg), 0);
  run(cfg, 3);
  work.remember();
  alignas(4) Word16 in[162] = {};
  alignas(4) Word16 out[82];
  std::fill(out, out + 82, 77);
  ArvessaConfig bad = cfg;
  EXPECT_EQ(Arvessa(nullptr, out, &cfg), -1);
  EXPECT_EQ(Arvessa(in, nullptr, &cfg), -1);
  EXPECT_EQ(Arvessa(in, out, nullptr), -1);
  EXPECT_EQ(Arvessa(in + 1, out, &cfg), -1);
  EXPECT_EQ(Arvessa(in, out + 1, &cfg), -1);
  bad.pWork = nullptr;
  EXPECT_EQ(Arvessa(in, out, &bad), -1);
  bad = cfg;
  misalign(bad.pWork);
  EXPECT_EQ(Arvessa(in, out, &bad), -1);
  EXPECT_TRUE(work.untouched());
  for (const Word16 sample : out) EXPECT_EQ(sample, 77);
}

TEST(ArvessaFrame, EngineRefusalKeepsTheBeamAndTheCount) {
  Guarded work(ARVESSA_WORK_BYTES, 0, 0x00);
  ArvessaConfig cfg = frontEnd(work);  // zero-filled, never prepared
  alignas(4) Word16 in[160];
  alignas(4) Word16 out[80] = {};
  std::fill(in, in + 160, 1000);
  EXPECT_EQ(Arvessa(in, out, &cfg), -1);
  EXPECT_EQ(work.state().beamformer.frameCount, 0U);
  EXPECT_EQ(work.state().beamformer.mic1History[23], 1000);
  Guarded beamWork(ARVESSA_WORK_BYTES, 0, 0x00);
  ArvessaConfig beamAlone = frontEnd(beamWork, 1, 0);
  alignas(4) Word16 beam[80];
  EXPECT_EQ(Arvessa(in, beam, &beamAlone), 0);
  EXPECT_EQ(std::memcmp(out, beam, sizeof out), 0) << "out keeps the beamformed frame";
  ASSERT_EQ(Arvessa_Init(&cfg), 0);
  vornConfigIn(&work.state())->agcTableSel = 5;
  EXPECT_EQ(Arvessa(in, out, &cfg), -2);
  EXPECT_EQ(work.state().beamformer.frameCount, 0U);
}

// Started without the engine, its gain control stays off; without suppression it passes the frame.
TEST(ArvessaFrame, EngineCanBeSwitchedOnLater) {
  Guarded works[2] = {{ARVESSA_WORK_BYTES, 0}, {ARVESSA_WORK_BYTES, 0}};
  Samples out[2];
  for (int i = 0; i < 2; ++i) {
    ArvessaConfig cfg = frontEnd(works[i], 0, 0);
    ASSERT_EQ(Arvessa_Init(&cfg), 0);
    cfg.engineEnable = static_cast<uint8_t>(i);
    out[i] = run(cfg, 10);
    EXPECT_EQ(works[i].state().engine.noiseReduction.frameCountSat, 10 * i);
  }
  EXPECT_EQ(out[0], out[1]);
}

TEST(ArvessaFrame, OutputMayReplaceInput) {
  Random random(41);
  Guarded works[2] = {{ARVESSA_WORK_BYTES, 0}, {ARVESSA_WORK_BYTES, 0}};
  ArvessaConfig cfg[2] = {frontEnd(works[0]), frontEnd(works[1])};
  for (auto& c : cfg) ASSERT_EQ(Arvessa_Init(&c), 0);
  for (int frame = 0; frame < 100; ++frame) {
    alignas(4) Word16 buffer[160];
    alignas(4) Word16 want[80];
    for (Word16& x : buffer) x = random.wordOf(12);
    ASSERT_EQ(Arvessa(buffer, want, &cfg[0]), 0);
    Word16* out = buffer + frame % 81 / 2 * 2;
    ASSERT_EQ(Arvessa(buffer, out, &cfg[1]), 0);
    expectSameArray(out, want, 80, "out");
  }
}

// Buffers do not know of each other.
TEST(ArvessaFrame, RunsOnTwoThreads) {
  const auto separate = [](std::uint64_t seed) {
    Guarded work(ARVESSA_WORK_BYTES, 0);
    ArvessaConfig cfg = frontEnd(work);
    EXPECT_EQ(Arvessa_Init(&cfg), 0);
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
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(logged([] { EXPECT_EQ(Arvessa_GetVer(), 100); }), "D/Arvessa: Arvessa_GetVer:100!\n");
  }
  EXPECT_EQ(logged([] { __android_log_print(8, "tag", "%d", 5); }), "S/tag: 5\n");
  EXPECT_EQ(logged([] { __android_log_print(9, "tag", "5"); }), "?/tag: 5\n");
  EXPECT_EQ(logged([] { __android_log_print(-1, "tag", "5"); }), "?/tag: 5\n");
  // Cut to 255 characters, the last of which is a line feed, and that is not printed twice.
  const std::string line(254, 'x');
  EXPECT_EQ(logged([&] { __android_log_print(3, "", "%s\nmore", line.c_str()); }),
            "D/: " + line + '\n');
  EXPECT_EQ(logged([] { EXPECT_LT(__android_log_print(3, "", "%lc", 0x7FFFFFFF), 0); }), "");
}

TEST(VornInit, RefusesInOrderAndWritesNothing) {
  Guarded memory(VORN_STATE_BYTES, 0);
  const auto status = [&](auto change) {
    VornConfig cfg = {memory.data(), VORN_STATE_BYTES, VORN_CHECK_VALUE, 9, 9, 9, 9};
    change(cfg);
    const Word16 result = VORN_Init(&cfg);
    EXPECT_TRUE(result == 0 || memory.untouched());
    return result;
  };
  EXPECT_EQ(VORN_Init(nullptr), -1);
  EXPECT_EQ(status([](auto& c) { c.pState = nullptr; }), -1);
  EXPECT_EQ(status([](auto& c) { misalign(c.pState), c.checkValue = 0; }), -1);
  EXPECT_EQ(status([](auto& c) { c.checkValue = 19; }), -2);
  EXPECT_EQ(status([](auto& c) { c.checkValue = 21; }), -2);
  EXPECT_EQ(status([](auto& c) { c.stateSize = 7887; }), -2);
  EXPECT_EQ(status([](auto& c) { c.stateSize = -1; }), -2);
  EXPECT_EQ(status([](auto&) {}), 0) << "the other fields are not looked at";
  EXPECT_TRUE(memory.guardsIntact());
  EXPECT_EQ(VORN_GetVer(), 103);
}

TEST(VornFrame, RefusesInOrderAndWritesNothing) {
  Guarded memory(VORN_STATE_BYTES, 4);
  VornConfig cfg = {memory.data(), VORN_STATE_BYTES, VORN_CHECK_VALUE, 2, 1, 1, 4};
  ASSERT_EQ(VORN_Init(&cfg), 0);
  memory.remember();
  alignas(4) Word16 in[642] = {};
  alignas(4) Word16 out[642];
  std::fill(out, out + 642, 77);
  const auto status = [&](auto change, int length = 320, int capacity = 320) {
    VornConfig bad = cfg;
    change(bad);
    auto word = static_cast<Word16>(capacity);
    const Word16 result = VORN_Proc(in, length, out, &word, &bad);
    EXPECT_EQ(word, capacity);
    return result;
  };
  const auto nothing = [](auto&) {};
  Word16 word = 320;
  EXPECT_EQ(VORN_Proc(nullptr, 320, out, &word, &cfg), -1);
  EXPECT_EQ(VORN_Proc(in, 320, nullptr, &word, &cfg), -1);
  EXPECT_EQ(VORN_Proc(in, 320, out, nullptr, &cfg), -1);
  EXPECT_EQ(VORN_Proc(in, 320, out, &word, nullptr), -1);
  EXPECT_EQ(VORN_Proc(in + 1, 320, out, &word, &cfg), -1);
  EXPECT_EQ(VORN_Proc(in, 320, out + 1, &word, &cfg), -1);
  EXPECT_EQ(status([](auto& c) { c.pState = nullptr, c.rateCode = 9; }), -1);
  EXPECT_EQ(status([](auto& c) { misalign(c.pState); }), -1);
  EXPECT_EQ(status([](auto& c) { c.rateCode = 4; }, 640, 640), -2);
  EXPECT_EQ(status(nothing, 320, 319), -2);
  EXPECT_EQ(status(nothing, 319), -2);
  EXPECT_EQ(status([](auto& c) { c.nrEnable = 2; }, 640, 640), -2);
  EXPECT_EQ(status([](auto& c) { c.agcEnable = 2; }), -2);
  for (const int table : {0, 1, 5, 255}) {
    EXPECT_EQ(status([&](auto& c) { c.agcEnable = 0, c.agcTableSel = table; }), -2) << table;
  }
  EXPECT_TRUE(memory.untouched());
  for (const Word16 sample : out) EXPECT_EQ(sample, 77);

  word = 482;
  EXPECT_EQ(VORN_Proc(in, 482, out, &word, &cfg), 0);
  EXPECT_EQ(word, 320);
  EXPECT_EQ(out[319], 0);
  EXPECT_EQ(out[320], 77) << "samples beyond the frame";
  EXPECT_TRUE(memory.guardsIntact());
}

}  // namespace
}  // namespace arvessa::test
