// SPDX-License-Identifier: Apache-2.0
// What the thread brings: signals, whose handler may process a frame of another buffer, and what it
// does with denormals.
#include <gtest/gtest.h>
#include <sys/time.h>

#include <array>
#include <csignal>
#include <vector>

#include "Arvessa.h"
#include "support/random.h"

#ifdef __SSE2__
#include <xmmintrin.h>
#endif

namespace arvessa::test {
namespace {

using Output = std::array<Word16, ARVESSA_FRAME_SAMPLES>;

// A stream of the front end, everything on. The samples depend on the seed and the frame.
class Stream {
 public:
  explicit Stream(int seed) : random_(seed) { EXPECT_EQ(Arvessa_Init(&config_), 0); }

  const Output& next() {
    for (Word16& sample : in_) sample = static_cast<Word16>(random_.below(65536) - 32768);
    isInFrame_ = 1;
    const int status = Arvessa(in_, out_.data(), &config_);
    isInFrame_ = 0;
    if (status != 0) out_.fill(-1);
    return out_;
  }
  int isInFrame() const { return isInFrame_; }

 private:
  Random random_;
  std::uint32_t work_[(ARVESSA_WORK_BYTES + 3) / 4];
  ArvessaConfig config_ = {work_, ARVESSA_WORK_BYTES, 0, 1, 1};
  alignas(4) Word16 in_[2 * ARVESSA_FRAME_SAMPLES];
  alignas(4) Output out_;
  volatile std::sig_atomic_t isInFrame_ = 0;
};

constexpr int kInterruptions = 200;
Stream* interrupted = nullptr;
Stream* handled = nullptr;
std::array<Output, kInterruptions> handledOutput;
volatile std::sig_atomic_t interruptions = 0;
volatile std::sig_atomic_t interruptedFrames = 0;

void handle(int) {
  handledOutput[static_cast<std::size_t>(interruptions)] = handled->next();
  interruptedFrames = interruptedFrames + interrupted->isInFrame();
  interruptions = interruptions + 1;
}

TEST(Interrupts, LeaveBothBuffersAlone) {
  Stream inHandler(2), stream(1);
  interrupted = &stream;
  handled = &inHandler;
  interruptions = 0;
  interruptedFrames = 0;
  struct sigaction action = {}, before = {};
  action.sa_handler = handle;
  ASSERT_EQ(sigaction(SIGALRM, &action, &before), 0);
  std::vector<Output> output;
  Random random(3);
  while (interruptions < kInterruptions) {
    const int seen = interruptions;
    const itimerval once = {{0, 0}, {0, 1 + random.below(300)}};
    ASSERT_EQ(setitimer(ITIMER_REAL, &once, nullptr), 0);
    while (interruptions == seen) {
      output.push_back(stream.next());
    }
  }
  ASSERT_EQ(sigaction(SIGALRM, &before, nullptr), 0);
  EXPECT_GE(interruptedFrames, kInterruptions / 4);

  Stream again(1), otherAgain(2);
  for (std::size_t i = 0; i < output.size(); ++i) ASSERT_EQ(output[i], again.next()) << i;
  for (const Output& frame : handledOutput) ASSERT_EQ(frame, otherAgain.next());
}

#ifdef __SSE2__
// Sparse samples and constants, at any level, the microphones alike, opposite or apart: sums that cancel
// are what small numbers come from.
void fill(Word16 (&in)[2 * ARVESSA_FRAME_SAMPLES], Random& random) {
  constexpr int kSize = ARVESSA_FRAME_SAMPLES;
  const int level = 1 << random.below(15);
  const int oneIn = 1 << random.below(8);
  const bool isConstant = random.below(4) == 0;
  const int pair = random.below(3);
  for (int i = 0; i < 2 * kSize; ++i) {
    const int value = isConstant ? level : random.below(2 * level + 1) - level;
    in[i] = static_cast<Word16>(random.below(oneIn) == 0 ? value : 0);
    if (i >= kSize && pair != 0) {
      in[i] = static_cast<Word16>(pair == 1 ? in[i - kSize] : -in[i - kSize]);
    }
  }
}

// Where no operation meets or makes a denormal, a thread that flushes them gets the same samples. The
// processor keeps a record.
TEST(FloatEnvironment, NoFrameMeetsADenormal) {
  constexpr unsigned kMet = _MM_EXCEPT_DENORM | _MM_EXCEPT_UNDERFLOW;
  static int seed = 0;
  Random random(++seed);
  std::uint32_t work[(ARVESSA_WORK_BYTES + 3) / 4];
  ArvessaConfig config = {work, ARVESSA_WORK_BYTES, 0, 0, 0};
  ASSERT_EQ(Arvessa_Init(&config), 0);
  alignas(4) Word16 in[2 * ARVESSA_FRAME_SAMPLES];
  alignas(4) Word16 out[ARVESSA_FRAME_SAMPLES];
  for (int frame = 0; frame < 20000; ++frame) {
    if (frame % 3 != 1) fill(in, random);
    _MM_SET_EXCEPTION_STATE(0);
    ASSERT_EQ(Arvessa(in, out, &config), 0);
    ASSERT_EQ(_MM_GET_EXCEPTION_STATE() & kMet, 0U) << "frame " << frame;
  }
  const volatile float small = 1e-30F;
  const volatile float denormal = small * 1e-10F;
  EXPECT_GT(denormal + denormal, 0);
  EXPECT_EQ(_MM_GET_EXCEPTION_STATE() & kMet, kMet) << "there is no record";
}
#endif

}  // namespace
}  // namespace arvessa::test
