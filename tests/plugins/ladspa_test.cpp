// SPDX-License-Identifier: Apache-2.0
// The plugins in a small host: any block size, refusals, switches, restart, and what run may not do.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <ladspa.h>

#include <algorithm>
#include <cfenv>
#include <cmath>
#include <limits>
#include <map>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "front_end/front_end.h"

namespace {

long allocations = 0;

}  // namespace

#ifdef COUNTS_ALLOCATIONS
// NOLINTNEXTLINE(bugprone-reserved-identifier,cert-*): the C library's own name
extern "C" void* __libc_malloc(std::size_t size);
extern "C" void* malloc(std::size_t size) {
  ++allocations;
  return __libc_malloc(size);
}
#endif

namespace arvessa::app {
namespace {

using Signal = std::vector<float>;

// Bursts of noise from two places in noise: voice comes and goes, the beam moves.
std::vector<Signal> microphones(std::size_t count) {
  std::mt19937 random(1);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same blocks every time
  std::normal_distribution<double> noise(0, 0.05);
  std::vector<Signal> made(2, Signal(count));
  for (std::size_t i = 0; i < count; ++i) {
    const double voice = i / 3000 % 2 == 1 ? noise(random) * 6 : 0;
    for (std::size_t m = 0; m < 2; ++m) {
      const double value = std::clamp(voice + noise(random), -1.0, 32767.0 / 32768);
      made[m][i] = static_cast<float>(std::round(value * 32768) / 32768);
    }
  }
  return made;
}

class Host {
 public:
  Host(const std::string& label, int rate) : descriptor_(find(label)) {
    handle_ = descriptor_.instantiate(&descriptor_, static_cast<unsigned long>(rate));
    if (handle_ == nullptr) return;
    controls_.resize(descriptor_.PortCount);
    for (unsigned long port = 0; port < descriptor_.PortCount; ++port) {
      if (LADSPA_IS_PORT_CONTROL(descriptor_.PortDescriptors[port])) {
        descriptor_.connect_port(handle_, port, &controls_[port]);
      }
    }
    activate();
  }
  ~Host() {
    if (handle_ != nullptr) descriptor_.cleanup(handle_);
  }
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  bool works() const { return handle_ != nullptr; }
  void activate() { descriptor_.activate(handle_); }
  float& control(const std::string& name) {
    unsigned long port = 0;
    while (name != descriptor_.PortNames[port]) ++port;
    return controls_[port];
  }

  // In blocks of `sizes` in turn, the output in place of the first input.
  Signal run(std::vector<Signal> in, const std::vector<std::size_t>& sizes) {
    const std::size_t inputs = descriptor_.PortCount == 5 ? 1 : 2;
    for (std::size_t from = 0, turn = 0; from < in[0].size(); ++turn) {
      const std::size_t count = std::min(sizes[turn % sizes.size()], in[0].size() - from);
      for (std::size_t i = 0; i < inputs; ++i) {
        descriptor_.connect_port(handle_, i, in[i].data() + from);
      }
      descriptor_.connect_port(handle_, inputs, in[0].data() + from);
      const long before = allocations;
      descriptor_.run(handle_, count);
      EXPECT_EQ(allocations, before);
      from += count;
    }
    return in[0];
  }

 private:
  static const LADSPA_Descriptor& find(const std::string& label) {
    void* const file = dlopen(ARVESSA_PLUGIN, RTLD_NOW | RTLD_LOCAL);
    if (file == nullptr) throw std::runtime_error(dlerror());
    const auto descriptor =
        reinterpret_cast<LADSPA_Descriptor_Function>(dlsym(file, "ladspa_descriptor"));
    for (unsigned long i = 0; descriptor(i) != nullptr; ++i) {
      if (label == descriptor(i)->Label) return *descriptor(i);
    }
    throw std::runtime_error("no plugin " + label);
  }

  const LADSPA_Descriptor& descriptor_;
  LADSPA_Handle handle_;
  std::vector<float> controls_;
};

// What the front end makes of whole frames, a frame later; changed to `changed` from `half` on.
Signal frontEndLater(const std::vector<Signal>& in, std::size_t half = SIZE_MAX,
                     const FrontEndSettings& changed = {}) {
  FrontEnd frontEnd({});
  Signal out(80);
  for (std::size_t from = 0; from + 80 <= in[0].size(); from += 80) {
    if (from == half) frontEnd.change(changed);
    alignas(4) std::array<Word16, 160> pcm{};
    for (std::size_t i = 0; i < 160; ++i) {
      pcm[i] = static_cast<Word16>(std::lrint(in[i / 80][from + i % 80] * 32768));
    }
    alignas(4) std::array<Word16, 80> result{};
    frontEnd.process(pcm, result);
    for (const Word16 sample : result) out.push_back(static_cast<float>(sample) / 32768);
  }
  out.resize(in[0].size());
  return out;
}

// That whole frames give what the command gives is tested in applyplugin.
TEST(Ladspa, BlocksOfAnySizeGiveWhatWholeFramesGive) {
  const std::vector<Signal> in = microphones(48001);
  const std::vector<std::size_t> sizes = {1, 0, 79, 80, 81, 2, 480, 1024, 333, 5000};
  for (const auto& [label, rate, latency] : {std::tuple("vorn", 8000, 24),
                                             {"vorn", 16000, 48},
                                             {"vorn", 32000, 96},
                                             {"vorn", 48000, 153},
                                             {"arvessa", 8000, 48}}) {
    Host host(label, rate);
    ASSERT_TRUE(host.works());
    const auto frame = static_cast<std::size_t>(rate / 100);
    const Signal whole = host.run(in, {frame});
    EXPECT_EQ(host.control("latency"), static_cast<float>(frame) + latency);
    EXPECT_NE(Signal(whole.begin() + 5000, whole.end()), Signal(43001));
    host.activate();
    EXPECT_EQ(host.run(in, sizes), whole) << label << rate;
  }
  EXPECT_EQ(Host("arvessa", 8000).run(in, sizes), frontEndLater(in));
}

TEST(Ladspa, SwitchesActFromTheNextFrameOn) {
  const std::vector<Signal> in = microphones(32000);
  Host mono("vorn", 16000);
  mono.control("No noise reduction") = mono.control("No AGC") = 1;
  Signal delayed(160);
  delayed.insert(delayed.end(), in[0].begin(), in[0].end() - 160);
  EXPECT_EQ(mono.run(in, {256}), delayed);
  EXPECT_EQ(mono.control("latency"), 160);

  // Without AGC and exchanged from the second half on.
  Host pair("arvessa", 8000);
  Signal out;
  for (const std::size_t from : {0, 16000}) {
    pair.control("No AGC") = pair.control("Swap microphones") = from == 0 ? 0 : 1;
    const auto half = [&](const Signal& s) { return Signal(&s[from], &s[from] + 16000); };
    const Signal part = pair.run({half(in[0]), half(in[1])}, {160});
    out.insert(out.end(), part.begin(), part.end());
  }
  EXPECT_EQ(out, frontEndLater(in, 16000, {.agc = false, .swap = true}));
}

TEST(Ladspa, RatesThatItDoesNotKnowAreRefusedInOneLine) {
  for (const auto& [label, rate] : std::multimap<std::string, int>{
           {"vorn", 44100}, {"vorn", 0}, {"arvessa", 48000}, {"arvessa", 16000}}) {
    testing::internal::CaptureStderr();
    EXPECT_FALSE(Host(label, rate).works());
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_NE(said.find(label + " works at 8000"), std::string::npos) << said;
    EXPECT_NE(said.find("not at " + std::to_string(rate) + " Hz"), std::string::npos) << said;
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1);
  }
}

TEST(Ladspa, TheHostsRoundingAndImpossibleSamplesDoNoHarm) {
  std::vector<Signal> in = microphones(16000);
  std::vector<Signal> valid = in;
  for (const auto& [wrong, right] : std::map<float, float>{{-7, -1}, {9, 32767.0F / 32768}}) {
    in[0][static_cast<std::size_t>(8000 + wrong)] = wrong;
    valid[0][static_cast<std::size_t>(8000 + wrong)] = right;
  }
  in[1][9000] = std::numeric_limits<float>::quiet_NaN();
  valid[1][9000] = 0;
  const Signal expected = frontEndLater(valid);
  std::fesetround(FE_UPWARD);
  const Signal out = Host("arvessa", 8000).run(in, {128});
  const int left = std::fegetround();
  std::fesetround(FE_TONEAREST);
  EXPECT_EQ(out, expected);
  EXPECT_EQ(left, FE_UPWARD);
}

}  // namespace
}  // namespace arvessa::app
