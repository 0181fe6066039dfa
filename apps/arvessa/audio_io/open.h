// SPDX-License-Identifier: Apache-2.0
#pragma once
// Sources and sinks by the names that a command line gives them. "-" stands for raw samples on
// standard input and output.

#include <memory>
#include <string>

#include "audio_io/sink.h"
#include "audio_io/source.h"

namespace arvessa::app {

// A raw input has `rawRate` and `rawChannels`.
std::unique_ptr<Source> openSource(const std::string& path, int rawRate, int rawChannels);
std::unique_ptr<Sink> openSink(const std::string& path, int rate, int channels);

// Whether both paths lead to the same file, through whatever links. "-" is the file that standard
// input (as input) or standard output (as output) comes from.
bool isSameFile(const std::string& input, const std::string& output);

}  // namespace arvessa::app
