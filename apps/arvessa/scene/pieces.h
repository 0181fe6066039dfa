// SPDX-License-Identifier: Apache-2.0
#pragma once
// Noise made of a recording.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "audio_io/source.h"
#include "scene/noise.h"

namespace arvessa::app {

// The beginning of a recording, the mean of its channels, in 16 bits relative to its peak.
class Material {
 public:
  static constexpr std::size_t kMost = 10'000'000;  // samples: 20 MB

  // Reads at most kMost samples of `source`.
  explicit Material(Source& source);

  std::size_t size() const { return samples_.size() - 1; }
  // Sample i, in steps of a 32767th of the peak, rounded up to a power of two; sample size() is
  // sample 0.
  const std::int16_t* data() const { return samples_.data(); }

 private:
  void add(float sample);

  float range_ = 0x1p-24F;  // power of two that no sample so far exceeds
  std::vector<std::int16_t> samples_;
};

// How the recording is repeated: `pieces` times at once, each from a random place in its own stretch
// of the recording, in the half that begins at `part` of the stretch. Their speeds lie evenly
// between `speedSpread` (a fraction) slower and faster, each at `shift` (0 to 1) of its step, so that
// noises with the same shift have the same spectrum. Many pieces on top of each other make babble
// out of one voice.
struct PieceSettings {
  int pieces;
  double part;
  double speedSpread;
  double shift;
};
Noise pieces(std::shared_ptr<const Material> material, const PieceSettings& settings,
             Random random);

}  // namespace arvessa::app
