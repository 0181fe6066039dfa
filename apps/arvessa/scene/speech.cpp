// SPDX-License-Identifier: Apache-2.0
#include "scene/speech.h"

#include <algorithm>
#include <filesystem>
#include <span>

#include "audio_io/errors.h"
#include "audio_io/open.h"
#include "audio_io/resampled.h"

namespace arvessa::app {
namespace {

constexpr RawFormat kRawSpeech = {16000, 1};  // on standard input

class MemorySource : public Source {
 public:
  MemorySource(const std::string& path, int sampleRate, std::span<const float> samples)
      : Source(path, sampleRate, 1, static_cast<std::int64_t>(samples.size())), samples_(samples) {}

  std::size_t read(std::span<float> to) override {
    const std::size_t count = std::min(to.size(), samples_.size() - read_);
    std::ranges::copy(samples_.subspan(read_, count), to.begin());
    read_ += count;
    return count;
  }
  std::int64_t framesRead() const override { return static_cast<std::int64_t>(read_); }

 private:
  std::span<const float> samples_;
  std::size_t read_ = 0;
};

std::vector<float> readAll(Source& source) {
  constexpr std::size_t kBlock = 4096;
  std::vector<float> samples;
  for (std::size_t got = kBlock; got == kBlock;) {
    const std::size_t before = samples.size();
    samples.resize(before + kBlock);
    got = source.read(std::span(samples).subspan(before));
    samples.resize(before + got);
  }
  if (!source.complaint().empty()) throw Failure(source.name, source.complaint());
  return samples;
}

}  // namespace

Speech::Speech(const std::string& path, std::optional<int> rate) : path_(path) {
  const std::unique_ptr<Source> source = openSource(path, kRawSpeech);
  if (source->channels != 1) {
    throw Failure(source->name, "has " + std::to_string(source->channels) +
                                    " channels; the speech of one talker is needed, in one");
  }
  ownRate_ = source->rate;
  rate_ = rate.value_or(source->rate);
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) kept_ = readAll(*source);
}

std::unique_ptr<Source> Speech::open() const {
  if (kept_.empty()) return resampled(openSource(path_, kRawSpeech), rate_);
  return resampled(std::make_unique<MemorySource>(path_, ownRate_, kept_), rate_);
}

}  // namespace arvessa::app
