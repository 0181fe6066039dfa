// SPDX-License-Identifier: Apache-2.0
// A frame that a signal interrupts, while the handler processes a frame of another buffer.
#include <gtest/gtest.h>
#include <sys/time.h>

#include <array>
#include <csignal>
#include <vector>

#include "Arvessa.h"
#include "support/random.h"

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

}  // namespace
}  // namespace arvessa::test
