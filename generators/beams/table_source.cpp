// SPDX-License-Identifier: Apache-2.0
#include "beams/table_source.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <sstream>
#include <string_view>

#include "beams/beam_design.h"

namespace arvessa::design {
namespace {

constexpr std::string_view kHeader =
    R"(// SPDX-License-Identifier: Apache-2.0
// Weights of the three stored beams. Written by generators/beams, which holds the design;
// change it there.
//
// Format: float, each value a decimal of five significant digits. W[s][k][m] is at s * 128 + 2k + m
// for beam s = 0..2, bin k = 0..63 of the packed half spectrum and microphone m = 0..1.
// Range: -1.5 < value < 1.5.
// Formula (superdirective MVDR, Capon 1969; Bitzer and Simmer 2001), with f = 62.5 (k + 1) Hz and
// c = 340 m/s:
//   W = (1 + (k + 1)/32) conj(h),  h = R^-1 d / (d^H R^-1 d)
//   d[m] = exp(j 2 pi f p[m].u / c), u the unit vector towards the source
//   R = [[1.1, g], [g, 1.1]],  g = sin(x)/x,  x = 2 pi f |p[1] - p[0]| / c
// Microphones: p[0] = (-69.7, -2.4) mm, p[1] = (68.8, -2.5) mm. Beams 0, 1, 2 look towards 0, 90
// and 180 degrees from the x axis; beam 2 is the conjugate of beam 0.
#include "beamformer/beam_weights_tables.h"

extern "C" {

// clang-format off
)";

enum class Part { kReal, kImaginary };

std::string floatLiteral(const std::string& decimal) {
  const bool isInteger = decimal.find_first_of(".e") == std::string::npos;
  return decimal + (isInteger ? ".0f" : "f");
}

// Eight values, four bins, a line.
void appendTable(std::ostream& out, std::string_view name, Part part) {
  out << "const float " << name << "[384] = {";
  for (int s = 0; s < kBeams; ++s) {
    out << "\n  // beam " << s;
    for (int k = 0; k < kBins; ++k) {
      out << (k % 4 == 0 ? "\n  " : " ");
      const auto w = beamWeights(s, k);
      for (std::size_t m = 0; m < w.size(); ++m) {
        const double value = part == Part::kReal ? w[m].real() : w[m].imag();
        out << (m == 0 ? "" : " ") << floatLiteral(roundedDecimal(value)) << ',';
      }
    }
  }
  out << "\n};\n\n";
}

double powerDecibels(double ratio) { return 10.0 * std::log10(ratio); }

}  // namespace

std::string roundedDecimal(double value) {
  std::array<char, 32> text{};
  const auto end =
      std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::general, 5);
  return {text.data(), end.ptr};
}

std::string tableSource() {
  std::ostringstream out;
  out << kHeader;
  appendTable(out, "MVDR_CONST_W_UP_OPT_REAL_TABLE", Part::kReal);
  appendTable(out, "MVDR_CONST_W_UP_OPT_IMAGINARY_TABLE", Part::kImaginary);
  out << "// clang-format on\n\n}  // extern \"C\"\n";
  return out.str();
}

std::string weightsCsv() {
  std::ostringstream out;
  out << "beam,bin,microphone,re,im\n";
  for (int s = 0; s < kBeams; ++s) {
    for (int k = 0; k < kBins; ++k) {
      const auto w = beamWeights(s, k);
      for (std::size_t m = 0; m < w.size(); ++m) {
        out << s << ',' << k << ',' << m << ',' << roundedDecimal(w[m].real()) << ','
            << roundedDecimal(w[m].imag()) << '\n';
      }
    }
  }
  return out.str();
}

std::string patternsCsv() {
  std::ostringstream out;
  out << "beam,frequency_hz,azimuth_deg,gain_db\n";
  for (int s = 0; s < kBeams; ++s) {
    for (const int k : {8, 16, 32, 56}) {
      for (int azimuth = 0; azimuth <= 360; ++azimuth) {
        out << s << ',' << transformFrequency(k) << ',' << azimuth << ','
            << powerDecibels(std::norm(response(s, k, azimuth))) << '\n';
      }
    }
  }
  return out.str();
}

std::string figuresCsv() {
  std::ostringstream out;
  out << "beam,bin,frequency_hz,white_noise_gain_db,directivity_db,look_gain_db\n";
  for (int s = 0; s < kBeams; ++s) {
    for (int k = 0; k < kBins; ++k) {
      const double look = std::norm(response(s, k, kLookAzimuths[static_cast<std::size_t>(s)]));
      out << s << ',' << k << ',' << designFrequency(k) << ','
          << powerDecibels(whiteNoiseGain(s, k)) << ',' << powerDecibels(directivity(s, k)) << ','
          << powerDecibels(look) << '\n';
    }
  }
  return out.str();
}

}  // namespace arvessa::design
