// SPDX-License-Identifier: Apache-2.0
#pragma once
// The parts of a scene as streams.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "scene/pieces.h"
#include "scene/scene.h"
#include "scene/sound_field.h"
#include "scene/speech.h"

namespace arvessa::app {

// What a scene is made of, ready to be rendered as often as needed.
struct Ingredients {
  // Reads the material.
  Ingredients(const SceneSettings& sceneSettings, Speech talkersSpeech);

  SceneSettings settings;
  Speech speech;
  std::shared_ptr<const Material> material;  // of babble and of recorded noise
};

// One block of each part at both microphones, all of the same length. Parts that the scene does not
// have stay empty.
struct Parts {
  TwoChannels speech, field, point;
};

// A scene from its beginning. The same ingredients give the same samples every time.
class Rendering {
 public:
  explicit Rendering(const Ingredients& ingredients);

  // The next block; false at the end. Throws a Failure there if something was wrong with the
  // speech.
  bool next(Parts& parts);
  // Share of the speech that was read, as far as its length is known.
  double share() const;

 private:
  std::unique_ptr<Source> speech_;
  PlaneWave talker_;
  std::optional<IsotropicField> field_;
  std::optional<PointSource> point_;
  std::vector<float> block_;
  std::size_t latency_;  // samples still to be left out at the beginning
  bool ended_ = false;
};

}  // namespace arvessa::app
