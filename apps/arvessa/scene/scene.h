// SPDX-License-Identifier: Apache-2.0
#pragma once
// A two-microphone recording of a talker in noise, made of a mono recording.

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "audio_io/sink.h"
#include "scene/sound_field.h"

namespace arvessa::app {

struct SceneSettings {
  std::string speech;               // mono recording of the talker
  double talker = 90;               // direction, degrees
  std::string noise = "fan";        // fan, white, babble, none, or a recording
  std::optional<double> noiseFrom;  // direction of a point source of as much noise again, degrees
  double snr = 5;                   // dB, of the speech without its pauses to all of the noise
  std::uint64_t seed = 1;
  std::optional<int> rate;  // Hz; by default the speech's
  beams::Microphones microphones = beams::storedGeometry().microphones;
};

// What was written.
struct Scene {
  int rate = 0;  // Hz
  std::int64_t frames = 0;
  double speechPower = 0;  // both at microphone 1, before `factor`
  double noisePower = 0;
  double factor = 1;  // by which all was scaled down so that nothing clips
};

// Whether the noise of this name is read from a file.
bool isRecordedNoise(const std::string& noise);

// Writes a scene to the sink of two channels that `open` gives for its rate. It opens speech
// and sink first; then it renders the scene twice, or three times if it might clip: to measure, to find
// the peak, and to write. `advance` is told of every step, as a share of the whole.
Scene makeScene(const SceneSettings& settings,
                const std::function<std::unique_ptr<Sink>(int rate)>& open,
                const std::function<void(double)>& advance);

}  // namespace arvessa::app
