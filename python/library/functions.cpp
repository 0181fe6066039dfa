// SPDX-License-Identifier: Apache-2.0
// What Python calls. It owns all memory: a stream is a buffer of as many bytes as *_bytes says,
// aligned for any number. Arguments are right; the Python side has checked them.

#include <cfenv>
#include <cstdint>
#include <cstring>
#include <new>
#include <stdexcept>
#include <string>
#include <type_traits>

#include "beams/beam_file.h"
#include "stages.h"

namespace {

using arvessa::app::EngineSettings;
using arvessa::app::FrontEndSettings;
using arvessa::beams::BeamFile;
using arvessa::beams::BeamTable;
using arvessa::python::Chunks;
using arvessa::python::Directions;
using arvessa::python::Output;
using arvessa::python::SingleEngine;
using arvessa::python::Traced;
using arvessa::python::WholeFrontEnd;

using FrontEndStream = Chunks<Traced<WholeFrontEnd>>;
using EngineStream = Chunks<Traced<SingleEngine>>;
static_assert(std::is_trivially_copyable_v<FrontEndStream>);
static_assert(std::is_trivially_copyable_v<EngineStream>);

// Rounding to nearest and denormals, while it lives: the bits of the output depend on both. A
// library that was built with -ffast-math switches denormals off in the thread that imports it.
class DefaultFloats {
 public:
  DefaultFloats() {
    std::fegetenv(&before_);
    std::fesetenv(FE_DFL_ENV);
  }
  DefaultFloats(const DefaultFloats&) = delete;
  DefaultFloats& operator=(const DefaultFloats&) = delete;
  ~DefaultFloats() { std::fesetenv(&before_); }

 private:
  std::fenv_t before_{};
};

// What was written, as counts.
std::size_t countsOf(const Output& end, const Word16* out, const double* rows,
                     std::size_t* rowCount) {
  *rowCount = static_cast<std::size_t>(end.rows - rows) / arvessa::python::kColumns;
  return static_cast<std::size_t>(end.samples - out);
}

template <class Stream>
std::size_t process(void* stream, const Word16* in, std::size_t samples, Word16* out, double* rows,
                    std::size_t* rowCount) {
  const DefaultFloats floats;
  Output end = {out, rows};
  static_cast<Stream*>(stream)->process(in, samples, end);
  return countsOf(end, out, rows, rowCount);
}

template <class Stream>
std::size_t flush(void* stream, Word16* out, double* rows, std::size_t* rowCount) {
  const DefaultFloats floats;
  Output end = {out, rows};
  static_cast<Stream*>(stream)->flush(end);
  return countsOf(end, out, rows, rowCount);
}

BeamFile storedBeamFile() {
  BeamFile file{arvessa::beams::storedGeometry(), {}};
  std::copy_n(arvessa::storedBeams().re, BeamTable::kValues, file.table.re.begin());
  std::copy_n(arvessa::storedBeams().im, BeamTable::kValues, file.table.im.begin());
  return file;
}

}  // namespace

extern "C" {

const char* arvessa_version() { return ARVESSA_VERSION; }

std::size_t arvessa_front_end_bytes() { return sizeof(FrontEndStream); }

// `beam` is held, or -1. Weights as in the library's table, beam s, bin k, microphone m at
// s * 128 + 2 k + m.
void arvessa_front_end_start(void* stream, bool suppression, bool agc, bool engine, bool swap,
                             int beam, const float* re, const float* im, const double* directions) {
  FrontEndSettings settings;
  settings.noiseReduction = suppression;
  settings.agc = agc;
  settings.engine = engine;
  settings.swap = swap;
  if (beam >= 0) settings.heldBeam = beam;
  settings.beams = {re, im};
  Directions ofBeams{};
  std::copy_n(directions, ofBeams.size(), ofBeams.begin());
  new (stream) FrontEndStream(Traced(WholeFrontEnd{arvessa::app::FrontEnd(settings), ofBeams}));
}

int arvessa_front_end_latency(const void* stream) {
  return static_cast<const FrontEndStream*>(stream)->latency();
}

// Both microphones interleaved; `out` has room for a frame more than came in, `rows` for two rows
// more than frames came in.
std::size_t arvessa_front_end_process(void* stream, const Word16* in, std::size_t samples,
                                      Word16* out, double* rows, std::size_t* rowCount) {
  return process<FrontEndStream>(stream, in, samples, out, rows, rowCount);
}

// `out` has room for a frame and the latency.
std::size_t arvessa_front_end_flush(void* stream, Word16* out, double* rows,
                                    std::size_t* rowCount) {
  return flush<FrontEndStream>(stream, out, rows, rowCount);
}

std::size_t arvessa_engine_bytes() { return sizeof(EngineStream); }

void arvessa_engine_start(void* stream, int rate, bool suppression, bool agc, int agcTable) {
  const EngineSettings settings{suppression, agc, agcTable};
  new (stream) EngineStream(Traced(SingleEngine{arvessa::app::Engine(settings, rate), rate}));
}

int arvessa_engine_latency(const void* stream) {
  return static_cast<const EngineStream*>(stream)->latency();
}

std::size_t arvessa_engine_process(void* stream, const Word16* in, std::size_t samples, Word16* out,
                                   double* rows, std::size_t* rowCount) {
  return process<EngineStream>(stream, in, samples, out, rows, rowCount);
}

std::size_t arvessa_engine_flush(void* stream, Word16* out, double* rows, std::size_t* rowCount) {
  return flush<EngineStream>(stream, out, rows, rowCount);
}

// The beams of a file's text, or without one the stored beams: the weights, x and y of both
// microphones in m, and two or three directions in degrees. Returns the number of directions, or 0
// with the reason against the text.
std::size_t arvessa_beams(const char* text, std::size_t length, float* re, float* im,
                          double* microphones, double* directions, char* reason,
                          std::size_t reasonBytes) {
  try {
    const BeamFile file = text == nullptr
                              ? storedBeamFile()
                              : arvessa::beams::parseBeamFile(std::string(text, length));
    std::ranges::copy(file.table.re, re);
    std::ranges::copy(file.table.im, im);
    for (const auto& [x, y] : file.geometry.microphones) {
      *microphones++ = x;
      *microphones++ = y;
    }
    std::ranges::copy(file.geometry.directions, directions);
    return file.geometry.directions.size();
  } catch (const std::exception& error) {
    std::strncpy(reason, error.what(), reasonBytes - 1);
    return 0;
  }
}

}  // extern "C"
