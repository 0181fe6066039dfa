// SPDX-License-Identifier: Apache-2.0
// The entry points: what the programs of fuzz/interface.cpp do not try. Damaged settings, threads, a
// signal handler, the log.
#include <sys/time.h>

#include <algorithm>
#include <csignal>
#include <thread>

#include "Arvessa.h"
#include "Vorn.h"
#include "abi/android_log.h"
#include "abi/work_buffer.h"
#include "support/signals.h"

namespace arvessa::test {
namespace {

struct Work {
  alignas(VornConfig) unsigned char bytes[ARVESSA_WORK_BYTES] = {};
  ArvessaState& state() { return *reinterpret_cast<ArvessaState*>(bytes); }
};

ArvessaConfig started(Work& work) {
  ArvessaConfig cfg = {work.bytes, ARVESSA_WORK_BYTES, 0, 1, 1};
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

TEST(ArvessaFrame, EngineRefusalKeepsTheBeamAndTheCount) {
  Work work, beamWork;  // never prepared
  ArvessaConfig cfg = {work.bytes, ARVESSA_WORK_BYTES, 0, 1, 1};
  ArvessaConfig beamAlone = {beamWork.bytes, ARVESSA_WORK_BYTES, 0, 1, 0};
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
  cfg = started(work);
  vornConfigIn(&work.state())->pState = beamWork.bytes;
  EXPECT_EQ(Arvessa(in, out, &cfg), -1) << "another buffer's state";
}

// Buffers do not know of each other.
TEST(ArvessaFrame, RunsOnTwoThreads) {
  const auto separate = [](std::uint64_t seed) {
    Work work;
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

// A frame is interrupted at any of its instructions, and the handler processes another buffer.
struct Interrupted {
  Work work;
  ArvessaConfig cfg = started(work);
  alignas(4) Word16 in[160] = {};
  alignas(4) Word16 out[80] = {};
  Samples all;
  void frame() {
    for (Word16& x : in) x = static_cast<Word16>(x * 7 + static_cast<int>(all.size()) + 999);
    EXPECT_EQ(Arvessa(in, out, &cfg), 0);
    all.insert(all.end(), out, out + 80);
  }
};
Interrupted* inHandler = nullptr;
volatile std::sig_atomic_t handled = 0;

TEST(ArvessaFrame, MayBeInterruptedByAnother) {
  constexpr int kInterruptions = 300;
  Interrupted alone, interrupted, handler;
  handler.all.reserve(std::size_t{80} * kInterruptions);  // so that the handler needs no heap
  inHandler = &handler;
  const auto before = std::signal(SIGALRM, [](int) {
    inHandler->frame();
    handled = handled + 1;
  });
  for (int armed = -1; handled < kInterruptions; interrupted.frame()) {
    if (armed == handled) continue;
    armed = handled;
    const itimerval later = {{0, 0}, {0, 20 + handled % 50}};
    setitimer(ITIMER_REAL, &later, nullptr);
  }
  std::signal(SIGALRM, before);
  while (alone.all.size() < std::max(interrupted.all.size(), handler.all.size())) alone.frame();
  const auto expectBeginning = [&](const Samples& got) {
    EXPECT_TRUE(std::equal(got.begin(), got.end(), alone.all.begin()));
  };
  expectBeginning(interrupted.all);
  expectBeginning(handler.all);
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

}  // namespace
}  // namespace arvessa::test
