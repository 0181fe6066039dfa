// SPDX-License-Identifier: Apache-2.0
// Whole streams through the front end and the engine: 88 s of audio, sample by sample against the
// reference, and against committed checksums.
//
// The checksums were obtained from the library on x86-64 and confirmed by the reference, which was
// written from the definitions of the chain by a second developer who had not seen the library's
// code: EqualTheReference repeats that confirmation. They change only when the output changes; a
// release that changes one says so in the change log.
#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>

#include "Arvessa.h"
#include "Vorn.h"
#include "reference/arvessa.h"
#include "reference/engine.h"
#include "support/signals.h"

namespace arvessa::test {
namespace {

struct Switches {
  int rateCode, nr, agc, table;
};
enum class Plan { kFixed, kToggle, kChangeRate };

// What a stream is made of. A front-end stream has rate code -1.
struct Stream {
  const char* name;
  Signal signal, second;  // of the two microphones
  int frames;
  Switches switches;
  Plan plan;
  std::uint64_t checksum;
};

Switches switchesAt(const Stream& s, int frame) {
  Switches now = s.switches;
  if (s.plan == Plan::kToggle) {
    now.nr = frame / 37 % 2;
    now.agc = frame / 53 % 2;
    now.table = 2 + frame / 29 % 3;
  } else if (s.plan == Plan::kChangeRate) {
    now.rateCode = frame / 41 % 4;
  }
  return now;
}

struct Library {
  using Config = ::VornConfig;
  static constexpr auto kInit = ::VORN_Init;
  static constexpr auto kProc = ::VORN_Proc;
};
struct Reference {
  using Config = reference::VornConfig;
  static constexpr auto kInit = reference::VORN_Init;
  static constexpr auto kProc = reference::VORN_Proc;
};

template <class Engine>
Samples runEngine(const Stream& s) {
  alignas(8) unsigned char memory[VORN_STATE_BYTES] = {};
  typename Engine::Config cfg{};
  cfg.pState = reinterpret_cast<reference::WvqeState*>(memory);  // a void* to the library
  cfg.stateSize = VORN_STATE_BYTES;
  cfg.checkValue = VORN_CHECK_VALUE;
  EXPECT_EQ(Engine::kInit(&cfg), 0);
  Source source(s.signal, s.switches.rateCode == 0 ? 2 : 1, 1);
  return inFrames(s.frames, [&](int frame, Word16* in, Word16* out) {
    const Switches now = switchesAt(s, frame);
    cfg.rateCode = static_cast<std::uint8_t>(now.rateCode);
    cfg.nrEnable = static_cast<std::uint8_t>(now.nr);
    cfg.agcEnable = static_cast<std::uint8_t>(now.agc);
    cfg.agcTableSel = static_cast<std::uint8_t>(now.table);
    const int n = frameOf(now.rateCode);
    std::generate_n(in, n, [&] { return source.next(); });
    Word16 length = 480;
    EXPECT_EQ(Engine::kProc(in, n, out, &length, &cfg), 0);
    EXPECT_EQ(length, n);
    return n;
  });
}

template <class Init, class Process, class Config>
Samples runFrontEnd(const Stream& s, Config cfg, Init init, Process process) {
  cfg.workSize = ARVESSA_WORK_BYTES;
  cfg.nrEnable = static_cast<std::uint8_t>(s.switches.nr);
  cfg.engineEnable = static_cast<std::uint8_t>(s.switches.agc);
  EXPECT_EQ(init(&cfg), 0);
  Source first(s.signal, 2, 1), second(s.second, 2, 2);
  return inFrames(s.frames, [&](int frame, Word16* in, Word16* out) {
    if (s.plan == Plan::kToggle) cfg.engineEnable = static_cast<std::uint8_t>(frame / 37 % 3);
    std::generate_n(in, 80, [&] { return first.next(); });
    std::generate_n(in + 80, 80, [&] { return second.next(); });
    EXPECT_EQ(process(in, out, &cfg), 0);
    return 80;
  });
}

Samples runLibrary(const Stream& s) {
  if (s.switches.rateCode >= 0) return runEngine<Library>(s);
  alignas(4) unsigned char work[ARVESSA_WORK_BYTES];
  ::ArvessaConfig cfg{};
  cfg.pWork = work;
  return runFrontEnd(s, cfg, ::Arvessa_Init, ::Arvessa);
}

Samples runReference(const Stream& s) {
  if (s.switches.rateCode >= 0) return runEngine<Reference>(s);
  const auto work = std::make_unique<reference::ArvessaState>();
  reference::ArvessaConfig cfg{};
  cfg.pWork = work.get();
  return runFrontEnd(s, cfg, reference::Arvessa_Init, reference::Arvessa);
}

using enum Signal;
// clang-format off
using enum Plan;
const Stream kStreams[] = {
  {"FrontEndSpeech", kSpeech, kNoisySpeech, 710, {-1, 1, 1, 4}, kFixed, 0x55ED581A648AA9A4ULL},
  {"FrontEndNoisySpeech", kNoisySpeech, kSpeech, 710, {-1, 1, 1, 4}, kFixed, 0x04C89C2B011EA8BAULL},
  {"FrontEndAgcAlone", kNoisySpeech, kNoisySpeech, 300, {-1, 0, 1, 4}, kFixed, 0xD51B572C9B4ACA3BULL},
  {"FrontEndBeamAlone", kNoise, kSpeech, 400, {-1, 1, 0, 4}, kFixed, 0xC9ED4AE5D6452912ULL},
  {"FrontEndFullScale", kFullScale, kFullScale, 200, {-1, 1, 1, 4}, kFixed, 0x98C5F875314C6022ULL},
  {"FrontEndSilence", kSilence, kSilence, 50, {-1, 1, 1, 4}, kFixed, 0x51E78E744621F425ULL},
  {"FrontEndTone", kTone, kBursts, 300, {-1, 1, 1, 4}, kFixed, 0x54F09E14B51D6E2EULL},
  {"FrontEndToggled", kNoisySpeech, kBursts, 500, {-1, 1, 1, 4}, kToggle, 0x124E7E2EA2238D03ULL},
  {"Engine8Speech", kNoisySpeech, kSilence, 1100, {0, 1, 1, 4}, kFixed, 0x79C4E9DDB61C1F54ULL},
  {"Engine8Silence", kSilence, kSilence, 50, {0, 1, 1, 3}, kFixed, 0x51E78E744621F425ULL},
  {"Engine8FullScale", kFullScale, kSilence, 200, {0, 1, 1, 2}, kFixed, 0xFC5E7EFD809020A7ULL},
  {"Engine8Passed", kSpeech, kSilence, 50, {0, 0, 0, 4}, kFixed, 0x14BFE33A4DCC7A17ULL},
  {"Engine8Toggled", kNoisySpeech, kSilence, 500, {0, 1, 1, 2}, kToggle, 0xF060925376726059ULL},
  {"Engine16Speech", kNoisySpeech, kSilence, 1100, {1, 1, 1, 3}, kFixed, 0x0C88781FC7FA4C3DULL},
  {"Engine16Suppressed", kBursts, kSilence, 300, {1, 1, 0, 2}, kFixed, 0x5CC1662D8F32B994ULL},
  {"Engine16FullScale", kFullScale, kSilence, 100, {1, 0, 1, 2}, kFixed, 0x33BCED8D2BBBAB8FULL},
  {"Engine16Tone", kTone, kSilence, 200, {1, 1, 1, 4}, kFixed, 0x9C7996DF760F8538ULL},
  {"Engine32Speech", kNoisySpeech, kSilence, 350, {2, 1, 1, 4}, kFixed, 0xB42495C66BEC626AULL},
  {"Engine32FullScale", kFullScale, kSilence, 100, {2, 1, 1, 2}, kFixed, 0xD30F6ED8B2EB90D0ULL},
  {"Engine32Toggled", kBursts, kSilence, 300, {2, 1, 1, 2}, kToggle, 0xA638DDC8EDB62822ULL},
  {"Engine48Speech", kNoisySpeech, kSilence, 230, {3, 1, 1, 4}, kFixed, 0xBECBB3A063ABB62DULL},
  {"Engine48AgcAlone", kNoise, kSilence, 100, {3, 0, 1, 2}, kFixed, 0x91854BE9C878023EULL},
  {"Engine48FullScale", kFullScale, kSilence, 100, {3, 1, 1, 2}, kFixed, 0x53BDFAAECD1CFE9BULL},
  {"Engine48Toggled", kBursts, kSilence, 300, {3, 1, 1, 2}, kToggle, 0xAC765AAD187FE714ULL},
  {"EngineRatesChanged", kNoisySpeech, kSilence, 500, {0, 1, 1, 4}, kChangeRate, 0x47CD7D5D2FC9B40AULL},
};
// clang-format on

// One checksum for all of them, when all have run: the figure to compare between processors.
class Streams : public testing::TestWithParam<std::size_t> {
 protected:
  static void TearDownTestSuite() {
    std::uint64_t digest = 0;
    for (const Stream& s : kStreams)
      digest = digest * 31 + checksums_[static_cast<std::size_t>(&s - kStreams)];
    if (checksums_.size() == std::size(kStreams)) {
      std::printf("reference streams: %016llX\n", static_cast<unsigned long long>(digest));
    }
  }
  static inline std::map<std::size_t, std::uint64_t> checksums_;
};

TEST_P(Streams, EqualTheReferenceAndTheirChecksums) {
  const Stream& stream = kStreams[GetParam()];
  const Samples got = runLibrary(stream);
  const Samples want = runReference(stream);
  ASSERT_EQ(got.size(), want.size());
  expectSameArray(got.data(), want.data(), got.size(), "sample");
  checksums_[GetParam()] = checksum(got.data(), got.size());
  EXPECT_EQ(checksums_[GetParam()], stream.checksum) << std::hex << checksums_[GetParam()];
}

INSTANTIATE_TEST_SUITE_P(All, Streams, testing::Range<std::size_t>(0, std::size(kStreams)),
                         [](const auto& s) { return std::string(kStreams[s.param].name); });

}  // namespace
}  // namespace arvessa::test
