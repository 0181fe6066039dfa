// SPDX-License-Identifier: Apache-2.0
#include "scene/rendering.h"

#include <algorithm>
#include <utility>

#include "audio_io/errors.h"
#include "audio_io/open.h"
#include "audio_io/resampled.h"

namespace arvessa::app {
namespace {

constexpr std::size_t kBlock = 4096;

constexpr double kBabbleSpeedSpread = 0.15;  // voices from a lower to a higher one
constexpr int kPiecesOfField = 10;           // in each of its two noises
constexpr std::uint32_t kPointStream = 2;

std::shared_ptr<const Material> materialOf(const SceneSettings& settings, const Speech& speech) {
  std::unique_ptr<Source> source;
  if (settings.noise == "babble") source = speech.open();
  if (isRecordedNoise(settings.noise)) {
    source = resampled(openSource(settings.noise, {speech.rate(), 1}), speech.rate());
  }
  if (source == nullptr) return nullptr;
  auto material = std::make_shared<const Material>(*source);
  if (!source->complaint().empty()) throw Failure(source->name, source->complaint());
  return material;
}

// Noise `stream` of the scene: 0 and 1 make the field.
Noise noiseOf(const Ingredients& ingredients, std::uint32_t stream) {
  const SceneSettings& settings = ingredients.settings;
  Random random(settings.seed, stream);
  if (settings.noise == "fan") return fanNoise(ingredients.speech.rate(), random);
  if (settings.noise == "white") return whiteNoise(random);
  const double spread = settings.noise == "babble" ? kBabbleSpeedSpread : 0;
  PieceSettings settingsOfPieces = {kPiecesOfField, stream * 0.5, spread, 0.5};
  if (stream == kPointStream) settingsOfPieces = {1, 0, spread, random.uniform()};
  return pieces(ingredients.material, settingsOfPieces, random);
}

}  // namespace

Ingredients::Ingredients(const SceneSettings& sceneSettings, Speech talkersSpeech)
    : settings(sceneSettings),
      speech(std::move(talkersSpeech)),
      material(materialOf(settings, speech)) {}

Rendering::Rendering(const Ingredients& ingredients)
    : speech_(ingredients.speech.open()),
      talker_(ingredients.settings.microphones, ingredients.settings.talker, speech_->rate),
      latency_(talker_.latency()) {
  const SceneSettings& settings = ingredients.settings;
  if (settings.noise == "none") return;
  field_.emplace(settings.microphones, speech_->rate,
                 std::array{noiseOf(ingredients, 0), noiseOf(ingredients, 1)});
  if (settings.noiseFrom) {
    point_.emplace(settings.microphones, *settings.noiseFrom, speech_->rate,
                   noiseOf(ingredients, kPointStream));
  }
}

bool Rendering::next(Parts& parts) {
  if (ended_) return false;
  block_.resize(kBlock);
  const std::size_t got = speech_->read(block_);
  if (got < kBlock) {
    if (!speech_->complaint().empty()) throw Failure(speech_->name, speech_->complaint());
    ended_ = true;
    block_.resize(got);
    block_.resize(got + talker_.latency(), 0.0F);  // until the last sample has passed
  }
  talker_.process(block_, parts.speech);
  const std::size_t early = std::min(latency_, block_.size());
  latency_ -= early;
  for (std::vector<float>& channel : parts.speech) {
    channel.erase(channel.begin(), channel.begin() + static_cast<std::ptrdiff_t>(early));
  }
  const std::size_t samples = parts.speech[0].size();
  if (field_) field_->next(samples, parts.field);
  if (point_) point_->next(samples, parts.point);
  return true;
}

double Rendering::share() const {
  return speech_->length <= 0
             ? 0
             : static_cast<double>(speech_->framesRead()) / static_cast<double>(speech_->length);
}

}  // namespace arvessa::app
