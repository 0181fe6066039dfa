// SPDX-License-Identifier: Apache-2.0
#include "audio_io/resampler.h"

#include "audio_io/errors.h"

namespace arvessa::app {
namespace {

constexpr double kPassBand = 0.9;  // of the lower Nyquist frequency; a wider one waits for longer
constexpr std::size_t kConvertedFrames = 8192;  // at most, of one step

void check(soxr_error_t error) {
  if (error != nullptr) throw Failure("rate conversion", soxr_strerror(error));
}

}  // namespace

bool Resampler::canConvert(int fromRate, int toRate) {
  constexpr std::int64_t kMostRatio = 256;
  return fromRate > 0 && toRate > 0 && fromRate <= kMostRatio * toRate &&
         toRate <= kMostRatio * fromRate;
}

Resampler::Resampler(int channels, int fromRate, int toRate)
    : channels_(static_cast<std::size_t>(channels)),
      fromRate_(fromRate),
      toRate_(toRate),
      converted_(kConvertedFrames * channels_) {
  soxr_error_t error = nullptr;
  const soxr_io_spec_t samples = soxr_io_spec(SOXR_FLOAT32_I, SOXR_FLOAT32_I);
  soxr_quality_spec_t quality = soxr_quality_spec(SOXR_HQ, 0);
  quality.passband_end = kPassBand;
  const soxr_runtime_spec_t oneThread = soxr_runtime_spec(1);
  converter_.reset(soxr_create(fromRate, toRate, static_cast<unsigned>(channels), &error, &samples,
                               &quality, &oneThread));
  check(error);
}

void Resampler::process(std::span<const float> in, bool last, std::vector<float>& out) {
  const std::size_t before = out.size();
  const std::size_t frames = in.size() / channels_;
  framesIn_ += static_cast<std::int64_t>(frames);
  if (frames > 0) convert(in.data(), frames, out);
  if (last) {
    // libsoxr rounds the length to nearest: silence after the end makes it one too many.
    const auto silent = static_cast<std::size_t>(fromRate_ / toRate_ + 1);
    convert(std::vector<float>(silent * channels_).data(), silent, out);
    while (convert(nullptr, 0, out) > 0) {
    }
    const std::int64_t due = (framesIn_ * toRate_ + fromRate_ - 1) / fromRate_ - framesOut_;
    out.resize(before + static_cast<std::size_t>(due) * channels_);
  }
  framesOut_ += static_cast<std::int64_t>((out.size() - before) / channels_);
}

std::size_t Resampler::convert(const float* in, std::size_t frames, std::vector<float>& out) {
  std::size_t made = 0;
  std::size_t taken = 0;
  std::size_t got = kConvertedFrames;
  for (std::size_t done = 0; done < frames || got == kConvertedFrames; done += taken) {
    check(soxr_process(converter_.get(), in == nullptr ? nullptr : in + done * channels_,
                       frames - done, in == nullptr ? nullptr : &taken, converted_.data(),
                       kConvertedFrames, &got));
    const auto samples = static_cast<std::ptrdiff_t>(got * channels_);
    out.insert(out.end(), converted_.begin(), converted_.begin() + samples);
    made += got;
  }
  return made;
}

}  // namespace arvessa::app
