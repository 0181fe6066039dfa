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
#include <vector>

#include "front_end/engine.h"
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

// What the plugin's stage makes of whole frames, a frame later.
template <class Process>
Signal later(const std::vector<Signal>& in, std::size_t frame, const Process& process) {
  Signal out(frame);
  for (std::size_t from = 0; from + frame <= in[0].size(); from += frame) {
    alignas(4) std::array<Word16, 960> pcm{};
    for (std::size_t i = 0; i < in.size() * frame; ++i) {
      pcm[i] = static_cast<Word16>(std::lrint(in[i / frame][from + i % frame] * 32768));
    }
    alignas(4) std::array<Word16, 480> result{};
    process(std::span(pcm), std::span(result).first(frame), from / frame);
    for (std::size_t i = 0; i < frame; ++i) out.push_back(static_cast<float>(result[i]) / 32768);
  }
  out.resize(in[0].size());
  return out;
}

Signal engineLater(const Signal& in, int rate, Engine engine) {
  const auto frame = static_cast<std::size_t>(rate / 100);
  return later({in}, frame,
               [&](auto pcm, auto out, std::size_t) { engine.process(pcm.first(frame), out); });
}

Signal frontEndLater(const std::vector<Signal>& in, FrontEnd frontEnd) {
  return later(in, 80, [&](auto pcm, auto out, std::size_t) {
    frontEnd.process(pcm.template first<160>(), out.template first<80>());
  });
}

const std::vector<std::size_t> kSizes = {1, 0, 79, 80, 81, 2, 480, 1024, 333, 5000};

TEST(Ladspa, BlocksOfAnySizeGiveTheStagesOutputAFrameLater) {
  const std::vector<Signal> in = microphones(48001);
  for (const int rate : kEngineRates) {
    Host host("vorn", rate);
    ASSERT_TRUE(host.works());
    EXPECT_EQ(host.run(in, kSizes), engineLater(in[0], rate, Engine({}, rate))) << rate;
    EXPECT_EQ(host.control("latency"), static_cast<float>(rate / 100 + engineLatencyAt(rate)));
  }
  Host host("arvessa", 8000);
  EXPECT_EQ(host.run(in, kSizes), frontEndLater(in, FrontEnd({})));
  EXPECT_EQ(host.control("latency"), 128);
  host.activate();
  EXPECT_EQ(host.run(in, {64}), frontEndLater(in, FrontEnd({}))) << "activate starts anew";
}

TEST(Ladspa, SwitchesActFromTheNextFrameOn) {
  const std::vector<Signal> in = microphones(32000);
  Host mono("vorn", 16000);
  mono.control("No noise reduction") = 1;
  EXPECT_EQ(mono.run(in, {256}),
            engineLater(in[0], 16000, Engine({.noiseReduction = false}, 16000)));
  mono.activate();
  mono.control("No AGC") = 1;
  Signal delayed(160);
  delayed.insert(delayed.end(), in[0].begin(), in[0].end() - 160);
  EXPECT_EQ(mono.run(in, {256}), delayed);
  EXPECT_EQ(mono.control("latency"), 160);

  // Without AGC and exchanged from the second half on.
  const FrontEndSettings changed = {.agc = false, .swap = true};
  FrontEnd frontEnd({});
  const Signal expected = later(in, 80, [&](auto pcm, auto out, std::size_t frame) {
    if (frame == 200) frontEnd.change(changed);
    frontEnd.process(pcm.template first<160>(), out.template first<80>());
  });
  Host pair("arvessa", 8000);
  const auto half = [&](std::size_t from) {
    return std::vector<Signal>{{in[0].begin() + from, in[0].begin() + from + 16000},
                               {in[1].begin() + from, in[1].begin() + from + 16000}};
  };
  Signal out = pair.run(half(0), {160});
  pair.control("No AGC") = pair.control("Swap microphones") = 1;
  const Signal rest = pair.run(half(16000), {160});
  out.insert(out.end(), rest.begin(), rest.end());
  EXPECT_EQ(out, expected);
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
  const Signal expected = frontEndLater(in, FrontEnd({}));
  std::fesetround(FE_UPWARD);
  const Signal out = Host("arvessa", 8000).run(in, {128});
  const int left = std::fegetround();
  std::fesetround(FE_TONEAREST);
  EXPECT_EQ(out, expected);
  EXPECT_EQ(left, FE_UPWARD);

  std::vector<Signal> valid = in;
  for (const auto& [wrong, right] : std::map<float, float>{{-7, -1}, {9, 32767.0F / 32768}}) {
    in[0][static_cast<std::size_t>(8000 + wrong)] = wrong;
    valid[0][static_cast<std::size_t>(8000 + wrong)] = right;
  }
  in[1][9000] = std::numeric_limits<float>::quiet_NaN();
  valid[1][9000] = 0;
  EXPECT_EQ(Host("arvessa", 8000).run(in, {128}), frontEndLater(valid, FrontEnd({})));
}

}  // namespace
}  // namespace arvessa::app
