// arvessa scene: a two-microphone recording made of a mono one.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <iostream>
#include <memory>
#include <optional>

#include "commands.h"
#include "file_sink.h"
#include "file_source.h"
#include "levels.h"
#include "resample.h"
#include "sound_field.h"
#include "text.h"

namespace arvessa::tools {
namespace {

constexpr double kBabbleSpeedSpread = 0.15;  // voices from a lower to a higher one

bool isBuiltIn(const std::string& noise) {
  return noise == "fan" || noise == "white" || noise == "babble" || noise == "none";
}

std::vector<float> readAt(std::unique_ptr<Source> source, int rate) {
  source = resampled(std::move(source), rate);
  std::vector<float> samples = readMono(*source);
  if (!source->complaint().empty()) throw Failure(source->name, source->complaint());
  return samples;
}

std::vector<float> readSpeech(const SceneOptions& options, int& rate) {
  std::unique_ptr<Source> source = std::make_unique<FileSource>(options.speech);
  if (source->channels != 1) {
    throw Failure(source->name, "has " + std::to_string(source->channels) +
                                    " channels; the speech of one talker is needed, in one");
  }
  rate = options.rate.value_or(source->rate);
  return readAt(std::move(source), rate);
}

NoiseMaker makeNoise(const SceneOptions& options, const std::vector<float>& speech, int rate) {
  if (options.noise == "fan") return fanNoise(rate);
  if (options.noise == "white") return whiteNoise();
  if (options.noise == "babble") return pieces(speech, kBabbleSpeedSpread);
  return pieces(readAt(std::make_unique<FileSource>(options.noise), rate), 0);
}

void scale(TwoChannels& channels, double factor) {
  for (std::vector<float>& channel : channels) {
    for (float& sample : channel) sample = static_cast<float>(sample * factor);
  }
}

void add(TwoChannels& channels, const TwoChannels& more) {
  for (std::size_t m = 0; m < channels.size(); ++m) {
    std::transform(channels[m].begin(), channels[m].end(), more[m].begin(), channels[m].begin(),
                   std::plus<>());
  }
}

// The field, and in equal power the point source if there is one.
TwoChannels makeNoiseField(const SceneOptions& options, const std::vector<float>& speech,
                           int rate) {
  const NoiseMaker noise = makeNoise(options, speech, rate);
  Random random(options.seed);
  Progress progress(1, options.quiet);
  TwoChannels field = isotropicNoise(noise, rate, speech.size(), random, progress);
  const double fieldPower = meanPower(field[0]);
  if (fieldPower <= 0) throw Failure(options.noise, "holds only silence, no noise");
  if (options.noiseFrom) {
    TwoChannels point =
        pointNoise(noise, directionAt(*options.noiseFrom), rate, speech.size(), random);
    const double pointPower = meanPower(point[0]);
    if (pointPower <= 0) throw Failure(options.noise, "the piece for --noise-from is silent");
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

void writeScene(const TwoChannels& scene, const std::string& path, int rate) {
  std::vector<Word16> interleaved;
  for (std::size_t n = 0; n < scene[0].size(); ++n) {
    for (const std::vector<float>& channel : scene) interleaved.push_back(toPcm(channel[n]));
  }
  const auto sink = openSink(path, rate, 2);
  sink->write(interleaved);
  sink->finish();
}

}  // namespace

int runScene(const SceneOptions& options) {
  const auto begin = std::chrono::steady_clock::now();
  checkWritableFormat(options.output);
  if (options.noise == "none" && options.noiseFrom) {
    throw UsageError("--noise-from needs a noise; --noise none has none");
  }
  std::vector<std::string> inputs = {options.speech};
  if (!isBuiltIn(options.noise)) inputs.push_back(options.noise);
  for (const std::string& input : inputs) {
    if (isSameFile(input, options.output)) {
      throw Failure(options.output, "is the input " + input + " itself; nothing was written");
    }
  }
  int rate = 0;
  const std::vector<float> speech = readSpeech(options, rate);
  TwoChannels scene = planeWave(speech, directionAt(options.talker), rate);
  const double speechPower = activePower(scene[0], rate);
  std::string what = "talker at " + fixed(options.talker, 0) + " degrees, speech " +
                     fixed(decibels(speechPower), 1) + " dBFS";
  if (options.noise != "none") {
    if (speechPower <= 0) throw Failure(options.speech, "holds only silence, no speech");
    TwoChannels noise = makeNoiseField(options, speech, rate);
    const double wanted = speechPower / std::pow(10, options.snr / 10);
    scale(noise, std::sqrt(wanted / meanPower(noise[0])));
    add(scene, noise);
    what += ", " + options.noise + " noise " + fixed(decibels(wanted), 1) + " dBFS";
    if (options.noiseFrom) what += ", half of it from " + fixed(*options.noiseFrom, 0) + " degrees";
  }
  const double factor = fitToFullScale(scene);
  if (factor < 1) what += ", all scaled by " + fixed(20 * std::log10(factor), 1) + " dB to fit";
  writeScene(scene, options.output, rate);
  if (!options.quiet) {
    std::ostream& report = options.output == "-" ? std::cerr : std::cout;
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - begin;
    report << options.speech << " -> " << options.output << ": "
           << speedText(static_cast<double>(speech.size()) / rate, elapsed.count()) << " at "
           << rate << " Hz, " << what << '\n';
  }
  return 0;
}

}  // namespace arvessa::tools
