// SPDX-License-Identifier: Apache-2.0
// arvessa beams: beams for microphones at other places, or towards other directions.

#include <CLI/CLI.hpp>
#include <iomanip>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>

#include "audio_io/descriptor.h"
#include "audio_io/errors.h"
#include "audio_io/pending_file.h"
#include "beams/beam_file.h"
#include "commands/commands.h"
#include "commands/jobs.h"
#include "commands/picture.h"
#include "commands/text.h"

namespace arvessa::app {
namespace {

struct Options {
  std::optional<std::string> microphones;
  beams::Geometry geometry = beams::storedGeometry();  // its microphones unless they are given
  std::string output;
  std::string picture;
  bool quiet = false;
};

beams::Position positionIn(const std::string& text) {
  const std::size_t comma = text.find(',');
  double x = 0;
  double y = 0;
  if (comma == std::string::npos || !parses(text.substr(0, comma), x) ||
      !parses(text.substr(comma + 1), y)) {
    throw UsageError("--microphones: " + text + " is not X,Y in millimetres");
  }
  return {x / 1000, y / 1000};
}

std::string textOf(const beams::Position& position) {
  return shortest(1000 * position.x) + "," + shortest(1000 * position.y);
}

std::string textOf(const std::vector<double>& directions) {
  std::string text;
  for (const double degrees : directions) text += (text.empty() ? "" : ",") + shortest(degrees);
  return text;
}

beams::Microphones microphonesIn(const std::string& text) {
  const std::size_t colon = text.find(':');
  if (colon == std::string::npos) {
    throw UsageError("--microphones takes two places, X,Y:X,Y in millimetres");
  }
  return {positionIn(text.substr(0, colon)), positionIn(text.substr(colon + 1))};
}

beams::Geometry geometryOf(const Options& options) {
  beams::Geometry geometry = options.geometry;
  if (options.microphones) geometry.microphones = microphonesIn(*options.microphones);
  const std::string reason = beams::reasonAgainst(geometry);
  if (!reason.empty()) throw UsageError(reason);
  return geometry;
}

void writeText(const std::string& text, const std::string& path) {
  if (path == "-") {
    std::cout << text;
    return;
  }
  PendingFile file(path);
  const int error = writeAll(file.fd(), std::as_bytes(std::span(text))).error;
  if (error != 0) {
    throw Failure(path, "cannot be written: " + std::generic_category().message(error));
  }
  file.commit();
}

std::string summary(const beams::Geometry& geometry, const beams::Weights& weights) {
  constexpr std::array<int, 4> kBinsShown = {7, 15, 31, 55};  // 500 to 3500 Hz
  std::ostringstream out;
  out << "microphones " << fixed(1000 * beams::distance(geometry.microphones), 1)
      << " mm apart, half a wavelength at "
      << fixed(beams::sideLobeFrequency(geometry.microphones), 0)
      << " Hz: above it the beams have side lobes\n"
      << "                     directivity, dB              white noise gain, dB\n"
      << "beam  direction";
  for (int table = 0; table < 2; ++table) {
    for (const int bin : kBinsShown) {
      out << std::setw(5) << fixed(beams::designFrequency(bin), 0) << (bin == 55 ? " Hz" : "");
    }
    out << "   ";
  }
  for (std::size_t beam = 0; beam < geometry.directions.size(); ++beam) {
    out << '\n' << std::setw(4) << beam << std::setw(11) << shortest(geometry.directions[beam]);
    for (const bool directivity : {true, false}) {
      for (const int bin : kBinsShown) {
        const auto figures = beams::figuresOf(geometry, weights, static_cast<int>(beam), bin);
        out << std::setw(5) << fixed(directivity ? figures.directivity : figures.whiteNoiseGain, 1);
      }
      out << "      ";
    }
  }
  std::string text = out.str();
  for (std::size_t at = text.find(" \n"); at != std::string::npos; at = text.find(" \n")) {
    text.erase(at, 1);
  }
  text.erase(text.find_last_not_of(' ') + 1);
  return text + '\n';
}

int runBeams(const Options& options) {
  const beams::Geometry geometry = geometryOf(options);
  const beams::Weights weights = beams::designBeams(geometry);
  if (!options.picture.empty()) {
    if (options.output == "-") throw UsageError("--picture needs the beams in a file: -o FILE");
    checkCanDraw(PictureScript::kBeams, options.picture);
  }
  writeText(beams::beamFileText(geometry, weights), options.output);
  if (!options.picture.empty()) {
    drawPicture(PictureScript::kBeams, {options.output}, options.picture);
  }
  if (!options.quiet) summariesBeside(options.output) << summary(geometry, weights);
  return 0;
}

}  // namespace

void addBeams(CLI::App& app, Run& run) {
  auto options = std::make_shared<Options>();
  const auto& [first, second] = options->geometry.microphones;
  CLI::App* command = app.add_subcommand(
      "beams", "Beams for other microphones or directions, for --beams and for the library");
  command
      ->add_option("--microphones", options->microphones,
                   "places of microphone 1 and 2, X,Y:X,Y in millimetres")
      ->default_str(textOf(first) + ":" + textOf(second));
  command
      ->add_option("--directions", options->geometry.directions,
                   "two or three directions to look in, degrees from the x axis")
      ->delimiter(',')
      ->default_str(textOf(options->geometry.directions));
  addOutputOption(*command, options->output, "CSV file to write; - is standard output");
  command->get_option("--output")->required();
  command->add_option("--picture", options->picture,
                      "PNG file of the patterns, drawn by Python with Matplotlib");
  command->add_flag("--quiet", options->quiet, "no summary");
  command->footer(
      "Each beam passes a plane wave from its direction and as little as it can of noise from\n"
      "everywhere (superdirective MVDR; 340 m/s). Without options these are the beams that the\n"
      "library comes with. Directivity: by how much a beam raises its direction above noise from\n"
      "everywhere. White noise gain: above noise of the microphones themselves.\n\n"
      "Examples:\n"
      "  arvessa beams --microphones -29,0:29,0 -o my_beams.csv\n"
      "  arvessa enhance noisy.wav --beams my_beams.csv -o clean.wav\n"
      "  cmake -S . -B build -D ARVESSA_BEAMS=$PWD/my_beams.csv");
  command->callback([options, &run] { run = [options] { return runBeams(*options); }; });
}

}  // namespace arvessa::app
