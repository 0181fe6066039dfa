// SPDX-License-Identifier: Apache-2.0
#include "audio_io/resampler.h"

#include <string>

#include "audio_io/errors.h"

namespace arvessa::app {
namespace {

constexpr std::size_t kConvertedFrames = 4096;  // at most, of one step

}  // namespace

bool Resampler::canConvert(int fromRate, int toRate) {
  return src_is_valid_ratio(static_cast<double>(toRate) / fromRate) != 0;
}

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

}  // namespace arvessa::app
