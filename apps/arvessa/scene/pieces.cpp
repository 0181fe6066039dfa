// SPDX-License-Identifier: Apache-2.0
#include "scene/pieces.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "audio_io/errors.h"

namespace arvessa::app {
namespace {

constexpr double kOne = 0x1p32;  // a sample's distance; places are counted in fractions of it

struct Piece {
  std::uint64_t place, step;
};

// Adds the next samples of `piece`, linearly interpolated.
void play(const Material& material, Piece& piece, std::span<float> to) {
  const std::uint64_t end = std::uint64_t{material.size()} << 32;
  while (!to.empty()) {
    const std::uint64_t left = (end - piece.place + piece.step - 1) / piece.step;
    const auto run = static_cast<std::size_t>(std::min<std::uint64_t>(left, to.size()));
    for (float& sample : to.first(run)) {
      const std::int16_t* at = material.data() + (piece.place >> 32);
      const auto first = static_cast<float>(at[0]);
      const auto second = static_cast<float>(at[1]);
      const auto share = static_cast<float>((piece.place & 0xFFFFFFFF) >> 8) * 0x1p-24F;
      sample += first + share * (second - first);
      piece.place += piece.step;
    }
    piece.place %= end;
    to = to.subspan(run);
  }
}

}  // namespace

Material::Material(Source& source) {
  constexpr std::size_t kBlock = 4096;  // frames
  const auto channels = static_cast<std::size_t>(source.channels);
  std::vector<float> block(kBlock * channels);
  samples_.reserve(kMost + 1);
  std::size_t got = kBlock;
  while (got == kBlock && samples_.size() < kMost) {
    got = source.read(block);
    for (std::size_t n = 0; n < std::min(got, kMost - samples_.size()); ++n) {
      float sum = 0;
      for (std::size_t c = 0; c < channels; ++c) sum += block[n * channels + c];
      add(sum / static_cast<float>(channels));
    }
  }
  if (samples_.empty()) throw Failure(source.name, "holds no samples");
  samples_.push_back(samples_.front());
}

void Material::add(float sample) {
  while (std::abs(sample) > range_) {
    range_ *= 2;
    for (std::int16_t& before : samples_) before = static_cast<std::int16_t>(before / 2);
  }
  samples_.push_back(static_cast<std::int16_t>(std::lrint(sample / range_ * 32767)));
}

Noise pieces(std::shared_ptr<const Material> material, const PieceSettings& settings,
             Random random) {
  std::vector<Piece> playing;
  for (int i = 0; i < settings.pieces; ++i) {
    const double stretch = static_cast<double>(material->size()) / settings.pieces;
    const double place = std::floor((i + settings.part + random.uniform() / 2) * stretch);
    const double faster = 2 * (i + settings.shift) / settings.pieces - 1;
    playing.push_back({static_cast<std::uint64_t>(place) % material->size() << 32,
                       static_cast<std::uint64_t>((1 + settings.speedSpread * faster) * kOne)});
  }
  return [material = std::move(material), playing](std::span<float> to) mutable {
    std::ranges::fill(to, 0.0F);
    for (Piece& piece : playing) play(*material, piece, to);
  };
}

}  // namespace arvessa::app
