// SPDX-License-Identifier: Apache-2.0
#include "audio_io/resampled.h"

#include <algorithm>

#include "audio_io/errors.h"
#include "audio_io/pcm.h"
#include "audio_io/resampler.h"

namespace arvessa::app {
namespace {

// A frame of 10 ms at a time, so that a live stream is not kept waiting for more.
std::size_t liveFrames(int rate) { return static_cast<std::size_t>(std::max(rate / 100, 1)); }

std::size_t blockFrames(const Source& source) {
  constexpr std::size_t kFrames = 4096;
  return source.isLive() ? liveFrames(source.rate) : kFrames;
}

class ResampledSource : public DerivedSource {
 public:
  ResampledSource(std::unique_ptr<Source>&& from, int toRate)
      : DerivedSource(std::move(from), toRate, from->channels),
        resampler_(channels, inner().rate, toRate),
        block_(blockFrames(inner()) * static_cast<std::size_t>(channels)) {}

  std::size_t read(std::span<float> to) override {
    while (ready_.size() - taken_ < to.size() && !ended_) {
      ready_.erase(ready_.begin(), ready_.begin() + static_cast<std::ptrdiff_t>(taken_));
      taken_ = 0;
      const std::size_t frames = inner().read(block_);
      const std::size_t samples = frames * static_cast<std::size_t>(channels);
      ended_ = samples < block_.size();
      resampler_.process(std::span(block_).first(samples), ended_, ready_);
    }
    const std::size_t count = std::min(to.size(), ready_.size() - taken_);
    std::copy_n(ready_.begin() + static_cast<std::ptrdiff_t>(taken_), count, to.begin());
    taken_ += count;
    return count / static_cast<std::size_t>(channels);
  }

 private:
  Resampler resampler_;
  std::vector<float> block_;
  std::vector<float> ready_;
  std::size_t taken_ = 0;  // of ready_
  bool ended_ = false;
};

class ResampledSink : public Sink {
 public:
  ResampledSink(std::unique_ptr<Sink> inner, int innerRate, int rate, int channels,
                const Source* longest)
      : inner_(std::move(inner)),
        resampler_(channels, rate, innerRate),
        channels_(channels),
        blockSamples_(liveFrames(rate) * static_cast<std::size_t>(channels)),
        longest_(longest) {}

  void write(std::span<const Word16> interleaved) override {
    for (const Word16 sample : interleaved) collected_.push_back(fromPcm(sample));
    if (collected_.size() >= blockSamples_) pass(false);
  }

  void finish() override {
    pass(true);
    inner_->finish();
  }

 private:
  void pass(bool last) {
    resampler_.process(collected_, last, converted_);
    collected_.clear();
    // There and back can round up the length. Only the last block can be too long, and by then the
    // source has been read completely.
    if (last && longest_ != nullptr) {
      const auto left = static_cast<std::size_t>(longest_->framesRead() * channels_ - written_);
      converted_.resize(std::min(converted_.size(), left));
    }
    rounded_.clear();
    for (const float sample : converted_) rounded_.push_back(toPcm(sample));
    converted_.clear();
    inner_->write(rounded_);
    written_ += static_cast<std::int64_t>(rounded_.size());
  }

  std::unique_ptr<Sink> inner_;
  Resampler resampler_;
  int channels_;
  std::size_t blockSamples_;
  const Source* longest_;
  std::int64_t written_ = 0;  // samples of all channels
  std::vector<float> collected_;
  std::vector<float> converted_;
  std::vector<Word16> rounded_;
};

}  // namespace

std::unique_ptr<Source> resampled(std::unique_ptr<Source> inner, int rate) {
  if (inner->rate == rate) return inner;
  if (!Resampler::canConvert(inner->rate, rate)) {
    throw Failure(inner->name, "has " + std::to_string(inner->rate) +
                                   " Hz, which cannot be converted to " + std::to_string(rate));
  }
  return std::make_unique<ResampledSource>(std::move(inner), rate);
}

std::unique_ptr<Sink> resampled(std::unique_ptr<Sink> inner, int innerRate, int rate, int channels,
                                const Source* longest) {
  if (innerRate == rate) return inner;
  return std::make_unique<ResampledSink>(std::move(inner), innerRate, rate, channels, longest);
}

}  // namespace arvessa::app
