// The beamformer without the interface around it.

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>

#include "beamformer/mvdr_beamformer.h"
#include "cases.h"
#include "signal.h"

namespace arvessa::bench {
namespace {

constexpr std::size_t kBlock = 128;  // per microphone: history, new samples, zeros

struct Beam {
  FrameStream speech = noisySpeechOfTwo();
  ArvessaState state{};
  Slots<std::array<Word16, 2 * kBlock>> blocks;
  std::array<Word16, kBeamFrame> out{};

  Beam() { state.beamConfirm = 1; }

  void prepare(int frame) {
    for (const std::size_t mic : {0U, 1U}) {
      Word16* block = &blocks[frame][mic * kBlock];
      const Word16* last = &speech.frame(std::max(frame, 1) - 1)[mic * kBeamFrame];
      const Word16* now = &speech.frame(frame)[mic * kBeamFrame];
      std::copy_n(last + kBeamFrame - kBeamHistory, kBeamHistory, block);
      std::copy_n(now, kBeamFrame, block + kBeamHistory);
    }
  }
  void run(int frame) {
    MVDR_BeamForming(blocks[frame].data(), out.data(), &state);
    ++state.frameCount;
  }
};

Work beamformer() {
  auto beam = std::make_shared<Beam>();
  return {[beam](int i) { beam->prepare(i); }, [beam](int i) { beam->run(i); }};
}

}  // namespace

void addBeamformerCases(std::vector<Case>& cases) {
  cases.push_back({"MVDR_BeamForming", beamformer});
}

}  // namespace arvessa::bench
