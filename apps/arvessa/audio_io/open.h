// SPDX-License-Identifier: Apache-2.0
#pragma once
// Sources and sinks by the names that a command line gives them. "-" stands for
// standard input and output.

#include <memory>
#include <string>

#include "audio_io/sink.h"
#include "audio_io/source.h"

namespace arvessa::app {

// Of 16-bit little-endian samples without a header on standard input.
struct RawFormat {
  int rate;
  int channels;
  bool forced = false;  // whatever they begin like
};

std::unique_ptr<Source> openSource(const std::string& path, const RawFormat& raw);

// `format` is one of formatOf(), or 0 for the one that the extension of `path` stands for; on
// standard output 0 stands for raw samples.
std::unique_ptr<Sink> openSink(const std::string& path, int rate, int channels, int format = 0);

// Whether both paths lead to the same file, through whatever links. "-" is the file that standard
// input (as input) or standard output (as output) comes from.
bool isSameFile(const std::string& input, const std::string& output);

}  // namespace arvessa::app
