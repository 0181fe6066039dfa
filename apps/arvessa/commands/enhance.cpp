// SPDX-License-Identifier: Apache-2.0
// arvessa enhance: the whole front end for recordings and live pipes.

#include <CLI/CLI.hpp>
#include <memory>
#include <optional>

#include "audio_io/errors.h"
#include "audio_io/file_format.h"
#include "audio_io/open.h"
#include "audio_io/pending_file.h"
#include "audio_io/temporary_folder.h"
#include "commands/batch.h"
#include "commands/commands.h"
#include "commands/comparison.h"
#include "commands/decision_table.h"
#include "commands/picture.h"
#include "commands/two_microphones.h"

namespace arvessa::app {
namespace {

struct Options {
  BatchOptions batch;
  TwoMicrophoneOptions microphones;
  bool keepDelay = false;
  std::string comparison;
  std::string picture;
};

// Hands on to several sinks.
class Tee : public Sink {
 public:
  void add(Sink& sink) { sinks_.push_back(&sink); }
  void write(std::span<const Word16> samples) override {
    for (Sink* sink : sinks_) sink->write(samples);
  }
  void finish() override {
    for (Sink* sink : sinks_) sink->finish();
  }

 private:
  std::vector<Sink*> sinks_;
};

// Takes what the picture shows, in files that do not outlive it.
class PictureData {
 public:
  explicit PictureData(const TwoMicrophones& microphones)
      : file_(folder_.path("trace.csv")),
        table_(file_.fd(), "the data of the picture", microphones.geometry().directions) {}

  DecisionTable& table() { return table_; }

  void draw(const Comparison& comparison, const std::string& picture) {
    file_.commit();
    comparison.save(folder_.path("both.wav"), false);
    drawPicture(PictureScript::kRecording, {folder_.path("both.wav"), folder_.path("trace.csv")},
                picture);
  }

 private:
  TemporaryFolder folder_;
  PendingFile file_;
  DecisionTable table_;
};

Outcome enhance(const Options& options, const TwoMicrophones& microphones, const Job& job,
                const std::function<void(double)>& advance) {
  const auto source = microphones.open(job.input);
  const auto sink = openSink(job.output, ARVESSA_SAMPLE_RATE, 1, job.format);
  Tee tee;
  tee.add(*sink);
  Comparison comparison;
  std::optional<PictureData> data;
  if (!options.picture.empty()) tee.add(data.emplace(microphones).table());
  const bool wantsBoth = !options.picture.empty() || !options.comparison.empty();
  if (wantsBoth) tee.add(comparison);

  // Microphone 1 is the second channel of exchanged ones.
  const std::size_t first = options.microphones.frontEnd.swap ? ARVESSA_FRAME_SAMPLES : 0;
  FrontEndProcessor frontEnd = microphones.processor(
      [&](std::span<const Word16> in, std::size_t filled, const Decision& decision) {
        if (data) data->table().addDecision(in, filled, decision);
        if (wantsBoth) comparison.addMicrophone(in.subspan(first, filled));
      });
  const StreamResult result = runStream(*source, frontEnd, tee, options.keepDelay, advance);
  tee.finish();
  if (!options.comparison.empty()) comparison.save(options.comparison, true);
  if (data) data->draw(comparison, options.picture);
  Outcome outcome = outcomeOf(*source, result, ARVESSA_SAMPLE_RATE);
  outcome.beamShares = frontEnd.beamShares();
  return outcome;
}

int runEnhance(const Options& options) {
  if (!options.comparison.empty()) checkWritableFormat(options.comparison);
  for (const std::string& extra : {options.comparison, options.picture}) {
    if (extra.empty()) continue;
    if (!options.batch.outputFolder.empty()) {
      throw UsageError("--compare and --picture are for one recording, with -o");
    }
    if (options.keepDelay) throw UsageError("--compare and --picture do not go with --keep-delay");
    checkIsNoInput(extra, options.batch.inputs);
  }
  if (!options.picture.empty()) checkCanDraw(PictureScript::kRecording, options.picture);
  const TwoMicrophones microphones(options.microphones);
  return runBatch(options.batch,
                  std::bind_front(enhance, std::cref(options), std::cref(microphones)));
}

}  // namespace

void addEnhance(CLI::App& app, Run& run) {
  auto options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand(
      "enhance",
      "Two-microphone recordings (channel 1 = microphone 1) to clean speech, 8 kHz mono");
  addBatchOptions(*command, options->batch);
  addTwoMicrophoneOptions(*command, options->microphones);
  command->add_flag("--keep-delay", options->keepDelay,
                    "keep the latency of 3 ms (beamformer) or 6 ms (with the engine)");
  command
      ->add_option("--compare", options->comparison,
                   "file of two channels besides: left microphone 1, right enhanced, both with\n"
                   "the same level of speech")
      ->type_name("FILE");
  command
      ->add_option("--picture", options->picture,
                   "PNG file besides: both spectrograms with the decisions below, drawn by\n"
                   "Python with Matplotlib")
      ->type_name("FILE");
  command->footer(
      "Raw samples (-) are 16-bit little-endian: two channels at 8 kHz in, one out, frame by\n"
      "frame. Recordings on standard input are recognised by their header.\n\n"
      "Examples:\n"
      "  arvessa enhance noisy.wav -o clean.wav\n"
      "  arvessa enhance noisy.wav -o clean.wav --compare both.wav --picture clean.png\n"
      "  arvessa enhance recordings --out-dir clean --skip-existing\n"
      "  arecord -f S16_LE -r 8000 -c 2 -t wav | arvessa enhance - -o clean.flac\n"
      "  arecord -f S16_LE -r 8000 -c 2 -t raw | arvessa enhance - -o - |\n"
      "      aplay -f S16_LE -r 8000 -t raw");
  command->callback([options, &run] { run = [options] { return runEnhance(*options); }; });
}

}  // namespace arvessa::app
