// SPDX-License-Identifier: Apache-2.0
#include "scene/scene.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "audio_io/errors.h"
#include "audio_io/pcm.h"
#include "scene/active_power.h"
#include "scene/rendering.h"

namespace arvessa::app {
namespace {

constexpr double kLargest = 32767.0 / 32768.0;
constexpr int kPasses = 3;

// Factors of the two parts of the noise.
struct Gains {
  float field = 0, point = 0;
};

// speech + noise.
void mix(const Parts& parts, const Gains& gains, TwoChannels& mixed) {
  mixed = parts.speech;
  for (std::size_t m = 0; m < mixed.size(); ++m) {
    for (std::size_t n = 0; n < parts.field[m].size(); ++n) {
      mixed[m][n] += gains.field * parts.field[m][n];
    }
    for (std::size_t n = 0; n < parts.point[m].size(); ++n) {
      mixed[m][n] += gains.point * parts.point[m][n];
    }
  }
}

float peakOf(const TwoChannels& channels) {
  float peak = 0;
  for (const std::vector<float>& channel : channels) {
    for (const float sample : channel) peak = std::max(peak, std::abs(sample));
  }
  return peak;
}

double product(const std::vector<float>& a, const std::vector<float>& b) {
  double sum = 0;
  for (std::size_t n = 0; n < std::min(a.size(), b.size()); ++n) {
    sum += static_cast<double>(a[n]) * b[n];
  }
  return sum;
}

// What the first pass finds out; powers at microphone 1.
struct Measured {
  std::int64_t frames = 0;
  double speech = 0;
  double field = 0, point = 0, both = 0;  // both: mean of the product
  float speechPeak = 0, fieldPeak = 0, pointPeak = 0;
};

// A pass over the whole scene.
template <typename Visit>
void render(const Ingredients& ingredients, const std::function<void(double)>& advance,
            const Visit& visit) {
  Rendering rendering(ingredients);
  double told = 0;
  for (Parts parts; rendering.next(parts);) {
    visit(parts);
    advance((rendering.share() - told) / kPasses);
    told = rendering.share();
  }
}

Measured measure(const Ingredients& ingredients, const std::function<void(double)>& advance) {
  Measured sums;
  ActivePower speech(ingredients.speech.rate());
  render(ingredients, advance, [&](const Parts& parts) {
    sums.frames += static_cast<std::int64_t>(parts.speech[0].size());
    speech.add(parts.speech[0]);
    sums.field += product(parts.field[0], parts.field[0]);
    sums.point += product(parts.point[0], parts.point[0]);
    sums.both += product(parts.field[0], parts.point[0]);
    sums.speechPeak = std::max(sums.speechPeak, peakOf(parts.speech));
    sums.fieldPeak = std::max(sums.fieldPeak, peakOf(parts.field));
    sums.pointPeak = std::max(sums.pointPeak, peakOf(parts.point));
  });
  if (sums.frames == 0) throw Failure(ingredients.settings.speech, "holds no samples");
  sums.speech = speech.mean();
  for (double* sum : {&sums.field, &sums.point, &sums.both}) {
    *sum /= static_cast<double>(sums.frames);
  }
  return sums;
}

// For a noise of `power` in all, half of it from the point source if there is one.
Gains gainsFor(const SceneSettings& settings, const Measured& measured, double power) {
  if (measured.speech <= 0) throw Failure(settings.speech, "holds only silence, no speech");
  if (measured.field <= 0) throw Failure(settings.noise, "holds only silence, no noise");
  double point = 0;  // over the field's gain
  if (settings.noiseFrom) {
    if (measured.point <= 0) {
      throw Failure(settings.noise, "the piece for --noise-from is silent");
    }
    point = std::sqrt(measured.field / measured.point);
  }
  const double unscaled =
      measured.field + 2 * point * measured.both + point * point * measured.point;
  const double field = std::sqrt(power / unscaled);
  return {static_cast<float>(field), static_cast<float>(point * field)};
}

// By which the scene is to be scaled down so that nothing clips.
double factorFor(const Ingredients& ingredients, const Measured& measured, const Gains& gains,
                 const std::function<void(double)>& advance) {
  const float bound =
      measured.speechPeak + gains.field * measured.fieldPeak + gains.point * measured.pointPeak;
  if (bound < 0.999) {
    advance(1.0 / kPasses);
    return 1;
  }
  float peak = 0;
  TwoChannels mixed;
  render(ingredients, advance, [&](const Parts& parts) {
    mix(parts, gains, mixed);
    peak = std::max(peak, peakOf(mixed));
  });
  return peak <= kLargest ? 1 : kLargest / peak;
}

void write(const Ingredients& ingredients, const Gains& gains, const Scene& scene, Sink& sink,
           const std::function<void(double)>& advance) {
  const auto factor = static_cast<float>(scene.factor);
  std::int64_t frames = 0;
  TwoChannels mixed;
  std::vector<Word16> interleaved;
  render(ingredients, advance, [&](const Parts& parts) {
    mix(parts, gains, mixed);
    interleaved.clear();
    for (std::size_t n = 0; n < mixed[0].size(); ++n) {
      interleaved.push_back(toPcm(factor * mixed[0][n]));
      interleaved.push_back(toPcm(factor * mixed[1][n]));
    }
    sink.write(interleaved);
    frames += static_cast<std::int64_t>(mixed[0].size());
  });
  if (frames != scene.frames) {
    throw Failure(ingredients.settings.speech, "changed while it was read");
  }
  sink.finish();
}

}  // namespace

bool isRecordedNoise(const std::string& noise) {
  return noise != "fan" && noise != "white" && noise != "babble" && noise != "none";
}

Scene makeScene(const SceneSettings& settings,
                const std::function<std::unique_ptr<Sink>(int rate)>& open,
                const std::function<void(double)>& advance) {
  Speech speech(settings.speech, settings.rate);
  Scene scene;
  scene.rate = speech.rate();
  const std::unique_ptr<Sink> sink = open(scene.rate);
  const Ingredients ingredients(settings, std::move(speech));
  const Measured measured = measure(ingredients, advance);
  scene.frames = measured.frames;
  scene.speechPower = measured.speech;
  Gains gains;
  if (settings.noise != "none") {
    scene.noisePower = measured.speech / std::pow(10, settings.snr / 10);
    gains = gainsFor(settings, measured, scene.noisePower);
  }
  scene.factor = factorFor(ingredients, measured, gains, advance);
  write(ingredients, gains, scene, *sink, advance);
  return scene;
}

}  // namespace arvessa::app
