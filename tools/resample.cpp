#include "resample.h"

#include <algorithm>

#include "levels.h"

namespace arvessa::tools {
namespace {

constexpr std::size_t kConvertedFrames = 4096;  // at most, of one step

// A frame of 10 ms at a time, so that a live stream is not kept waiting for more.
std::size_t blockFrames(int rate) { return static_cast<std::size_t>(std::max(rate / 100, 1)); }

class ResampledSource : public Source {
 public:
  ResampledSource(std::unique_ptr<Source> inner, int toRate)
      : Source(inner->name, toRate, inner->channels,
               inner->length < 0 ? kUnknownLength : inner->length * toRate / inner->rate),
        inner_(std::move(inner)),
        resampler_(channels, inner_->rate, toRate),
        block_(blockFrames(inner_->rate) * static_cast<std::size_t>(channels)) {}

  std::size_t read(std::span<float> to) override {
    while (ready_.size() - taken_ < to.size() && !ended_) {
      ready_.erase(ready_.begin(), ready_.begin() + static_cast<std::ptrdiff_t>(taken_));
      taken_ = 0;
      const std::size_t frames = inner_->read(block_);
      const std::size_t samples = frames * static_cast<std::size_t>(channels);
      ended_ = samples < block_.size();
      resampler_.process(std::span(block_).first(samples), ended_, ready_);
    }
    const std::size_t count = std::min(to.size(), ready_.size() - taken_);
    std::copy_n(ready_.begin() + static_cast<std::ptrdiff_t>(taken_), count, to.begin());
    taken_ += count;
    return count / static_cast<std::size_t>(channels);
  }

  std::int64_t framesRead() const override { return inner_->framesRead(); }
  std::string complaint() const override { return inner_->complaint(); }

 private:
  std::unique_ptr<Source> inner_;
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
        blockSamples_(blockFrames(rate) * static_cast<std::size_t>(channels)),
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

Resampler::Resampler(int channels, int fromRate, int toRate)
    : channels_(static_cast<std::size_t>(channels)), fromRate_(fromRate), toRate_(toRate) {
  int error = 0;
  state_.reset(src_new(SRC_SINC_BEST_QUALITY, channels, &error));
  if (state_ == nullptr) throw Failure("resampling", src_strerror(error));
}

void Resampler::process(std::span<const float> in, bool last, std::vector<float>& out) {
  converted_.resize(kConvertedFrames * channels_);
  SRC_DATA data{};
  data.src_ratio = static_cast<double>(toRate_) / static_cast<double>(fromRate_);
  data.end_of_input = last ? 1 : 0;
  data.data_in = in.data();
  data.input_frames = static_cast<long>(in.size() / channels_);
  data.data_out = converted_.data();
  data.output_frames = static_cast<long>(kConvertedFrames);
  framesIn_ += data.input_frames;
  const std::size_t before = out.size();
  do {
    const int error = src_process(state_.get(), &data);
    if (error != 0) throw Failure("resampling", src_strerror(error));
    data.data_in += data.input_frames_used * static_cast<long>(channels_);
    data.input_frames -= data.input_frames_used;
    const auto samples = data.output_frames_gen * static_cast<std::ptrdiff_t>(channels_);
    out.insert(out.end(), converted_.begin(), converted_.begin() + samples);
  } while (data.input_frames > 0 || data.output_frames_gen > 0);
  if (last) {
    const std::int64_t due = (framesIn_ * toRate_ + fromRate_ - 1) / fromRate_ - framesOut_;
    out.resize(before + static_cast<std::size_t>(due) * channels_);
  }
  framesOut_ += static_cast<std::int64_t>((out.size() - before) / channels_);
}

std::unique_ptr<Source> resampled(std::unique_ptr<Source> inner, int rate) {
  if (inner->rate == rate) return inner;
  if (src_is_valid_ratio(static_cast<double>(rate) / inner->rate) == 0) {
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

}  // namespace arvessa::tools
