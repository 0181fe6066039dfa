// SPDX-License-Identifier: Apache-2.0
#include "commands/comparison.h"

#include <algorithm>
#include <cmath>

#include "Arvessa.h"
#include "audio_io/open.h"
#include "audio_io/pcm.h"
#include "scene/active_power.h"

namespace arvessa::app {
namespace {

void append(std::span<const Word16> samples, std::vector<float>& to) {
  for (const Word16 sample : samples) to.push_back(fromPcm(sample));
}

double speechPower(const std::vector<float>& samples) {
  ActivePower power(ARVESSA_SAMPLE_RATE);
  power.add(samples);
  return power.mean();
}

}  // namespace

void Comparison::addMicrophone(std::span<const Word16> samples) { append(samples, microphone_); }

void Comparison::write(std::span<const Word16> samples) { append(samples, enhanced_); }

void Comparison::save(const std::string& path, bool matched, int format) const {
  double left = 1;
  double right = 1;
  const double microphone = speechPower(microphone_);
  const double enhanced = speechPower(enhanced_);
  if (matched && microphone > 0 && enhanced > 0) {
    left = std::min(1.0, std::sqrt(enhanced / microphone));
    right = std::min(1.0, std::sqrt(microphone / enhanced));
  }
  constexpr std::size_t kBlock = 4096;
  const std::size_t frames = std::max(microphone_.size(), enhanced_.size());
  const auto sink = openSink(path, ARVESSA_SAMPLE_RATE, 2, format);
  std::vector<Word16> block;
  for (std::size_t n = 0; n < frames; ++n) {
    const float a = n < microphone_.size() ? microphone_[n] : 0;
    const float b = n < enhanced_.size() ? enhanced_[n] : 0;
    block.push_back(toPcm(static_cast<float>(left) * a));
    block.push_back(toPcm(static_cast<float>(right) * b));
    if (block.size() < 2 * kBlock && n + 1 < frames) continue;
    sink->write(block);
    block.clear();
  }
  sink->finish();
}

}  // namespace arvessa::app
