// SPDX-License-Identifier: Apache-2.0
#include "scene/scene.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>

#include "audio_io/errors.h"
#include "audio_io/level.h"
#include "audio_io/open.h"
#include "audio_io/resampled.h"

namespace arvessa::app {
namespace {

constexpr RawFormat kRawSpeech = {16000, 1};  // on standard input
constexpr double kBabbleSpeedSpread = 0.15;   // voices from a lower to a higher one

std::vector<float> readAt(std::unique_ptr<Source> source, int rate) {
  source = resampled(std::move(source), rate);
  std::vector<float> samples = readMono(*source);
  if (!source->complaint().empty()) throw Failure(source->name, source->complaint());
  return samples;
}

std::vector<float> readSpeech(const SceneSettings& settings, int& rate) {
  std::unique_ptr<Source> source = openSource(settings.speech, kRawSpeech);
  if (source->channels != 1) {
    throw Failure(source->name, "has " + std::to_string(source->channels) +
                                    " channels; the speech of one talker is needed, in one");
  }
  rate = settings.rate.value_or(source->rate);
  return readAt(std::move(source), rate);
}

NoiseMaker makeNoise(const SceneSettings& settings, const std::vector<float>& speech, int rate) {
  if (settings.noise == "fan") return fanNoise(rate);
  if (settings.noise == "white") return whiteNoise();
  if (settings.noise == "babble") return pieces(speech, kBabbleSpeedSpread);
  return pieces(readAt(openSource(settings.noise, kRawSpeech), rate), 0);
}

void scale(TwoChannels& channels, double factor) {
  for (std::vector<float>& channel : channels) {
    for (float& sample : channel) sample = static_cast<float>(sample * factor);
  }
}

void add(TwoChannels& channels, const TwoChannels& more) {
  for (std::size_t m = 0; m < channels.size(); ++m) {
    std::ranges::transform(channels[m], more[m], channels[m].begin(), std::plus<>());
  }
}

// The field, and in equal power the point source if there is one.
TwoChannels makeNoiseField(const SceneSettings& settings, const std::vector<float>& speech,
                           int rate, const std::function<void(double)>& advance) {
  const NoiseMaker noise = makeNoise(settings, speech, rate);
  Random random(settings.seed);
  TwoChannels field = isotropicNoise(noise, rate, speech.size(), random, advance);
  const double fieldPower = meanPower(field[0]);
  if (fieldPower <= 0) throw Failure(settings.noise, "holds only silence, no noise");
  if (settings.noiseFrom) {
    TwoChannels point =
        pointNoise(noise, directionAt(*settings.noiseFrom), rate, speech.size(), random);
    const double pointPower = meanPower(point[0]);
    if (pointPower <= 0) throw Failure(settings.noise, "the piece for --noise-from is silent");
    scale(point, std::sqrt(fieldPower / pointPower));
    add(field, point);
  }
  return field;
}

// Scales the scene down so that nothing clips. Returns the factor.
double fitToFullScale(TwoChannels& scene) {
  constexpr double kLargest = 32767.0 / 32768.0;
  double peak = 0;
  for (const std::vector<float>& channel : scene) {
    for (const float sample : channel) peak = std::max<double>(peak, std::abs(sample));
  }
  if (peak <= kLargest) return 1;
  scale(scene, kLargest / peak);
  return kLargest / peak;
}

}  // namespace

bool isRecordedNoise(const std::string& noise) {
  return noise != "fan" && noise != "white" && noise != "babble" && noise != "none";
}

Scene makeScene(const SceneSettings& settings, const std::function<void(double)>& advance) {
  Scene scene;
  const std::vector<float> speech = readSpeech(settings, scene.rate);
  scene.microphones = planeWave(speech, directionAt(settings.talker), scene.rate);
  scene.speechPower = activePower(scene.microphones[0], scene.rate);
  if (settings.noise != "none") {
    if (scene.speechPower <= 0) throw Failure(settings.speech, "holds only silence, no speech");
    TwoChannels noise = makeNoiseField(settings, speech, scene.rate, advance);
    scene.noisePower = scene.speechPower / std::pow(10, settings.snr / 10);
    scale(noise, std::sqrt(scene.noisePower / meanPower(noise[0])));
    add(scene.microphones, noise);
  }
  scene.factor = fitToFullScale(scene.microphones);
  return scene;
}

}  // namespace arvessa::app
