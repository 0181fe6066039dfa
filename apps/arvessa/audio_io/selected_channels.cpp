// SPDX-License-Identifier: Apache-2.0
#include "audio_io/selected_channels.h"

#include <algorithm>
#include <utility>

#include "audio_io/errors.h"

namespace arvessa::app {
namespace {

class SelectedChannels : public DerivedSource {
 public:
  SelectedChannels(std::unique_ptr<Source>&& from, std::vector<int> selection)
      : DerivedSource(std::move(from), from->rate, static_cast<int>(selection.size())),
        selection_(std::move(selection)) {}

  std::size_t read(std::span<float> to) override {
    const auto all = static_cast<std::size_t>(inner().channels);
    all_.resize(to.size() / selection_.size() * all);
    const std::size_t frames = inner().read(all_);
    auto sample = to.begin();
    for (std::size_t n = 0; n < frames; ++n) {
      for (const int channel : selection_) {
        *sample++ = all_[n * all + static_cast<std::size_t>(channel - 1)];
      }
    }
    return frames;
  }

 private:
  std::vector<int> selection_;
  std::vector<float> all_;
};

}  // namespace

std::unique_ptr<Source> selectChannels(std::unique_ptr<Source> inner, std::vector<int> channels) {
  for (const int channel : channels) {
    if (channel >= 1 && channel <= inner->channels) continue;
    throw Failure(inner->name, "has " + std::to_string(inner->channels) + " channel" +
                                   (inner->channels == 1 ? "" : "s") + ", none with the number " +
                                   std::to_string(channel));
  }
  return std::make_unique<SelectedChannels>(std::move(inner), std::move(channels));
}

}  // namespace arvessa::app
