// SPDX-License-Identifier: Apache-2.0
#pragma once
// The designed weights as text: rounded decimals, the library's table source, and CSV for plotting.

#include <string>

namespace arvessa::design {

// Five significant digits (`%.5g`), as they stand in the table.
std::string roundedDecimal(double value);

// src/beamformer/beam_weights_tables.cpp, the whole file.
std::string tableSource();

// A line each: beam, bin, microphone, real part, imaginary part, as in the table.
std::string weightsCsv();

// A line each: beam, frequency in Hz, azimuth in degrees, gain in dB relative to the look
// direction.
std::string patternsCsv();

// A line each: beam, bin, design frequency in Hz, white noise gain in dB, directivity in dB, gain
// in dB of a wave from the look direction at the frequency that the bin holds.
std::string figuresCsv();

}  // namespace arvessa::design
