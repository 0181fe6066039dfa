// SPDX-License-Identifier: Apache-2.0
// The committed weight table against the design that it comes from, and the design against physics:
// plane waves and an isotropic field made here from nothing but the geometry.
#include "beams/beam_design.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <complex>
#include <numbers>
#include <stdexcept>
#include <string>

#include "beamformer/beam_weights_tables.h"
#include "beams/beam_file.h"

namespace {

using namespace arvessa::beams;

// The weight as the library has it.
Complex stored(int s, int k, int m) {
  const int i = s * 128 + 2 * k + m;
  return {MVDR_CONST_W_UP_OPT_REAL_TABLE[i], MVDR_CONST_W_UP_OPT_IMAGINARY_TABLE[i]};
}

double wavenumber(int k) { return 2.0 * std::numbers::pi * 62.5 * (k + 1) / 340.0; }

// Phase by which a wave from `azimuth` degrees is ahead of the origin at microphone m.
double lead(int m, double azimuth, int k) {
  const double x = m == 0 ? -0.0697 : 0.0688;
  const double y = m == 0 ? -0.0024 : -0.0025;
  const double angle = azimuth * std::numbers::pi / 180.0;
  return wavenumber(k) * (x * std::cos(angle) + y * std::sin(angle));
}

// Output power in a diffuse field of unit power plus microphone noise of 0.1: plane waves summed
// over the sphere, in rings around the line through the microphones (midpoint rule).
double noisePower(const MicrophoneVector& w, int k) {
  constexpr int kRings = 400;
  const double spacing = std::hypot(0.0688 + 0.0697, 0.0025 - 0.0024);
  double power = 0.1 * (std::norm(w[0]) + std::norm(w[1]));
  for (int i = 0; i < kRings; ++i) {
    const double cosine = (2.0 * i + 1.0) / kRings - 1.0;
    power += std::norm(w[0] + w[1] * std::polar(1.0, wavenumber(k) * spacing * cosine)) / kRings;
  }
  return power;
}

std::string storedBeamsText() {
  return beamFileText(storedGeometry(), designBeams(storedGeometry()));
}

TEST(BeamDesign, StoredTableIsWhatTheFileOfTheDesignHolds) {
  const BeamFile file = parseBeamFile(storedBeamsText());
  for (std::size_t i = 0; i < BeamTable::kValues; ++i) {
    EXPECT_EQ(file.table.re[i], MVDR_CONST_W_UP_OPT_REAL_TABLE[i]) << i;
    EXPECT_EQ(file.table.im[i], MVDR_CONST_W_UP_OPT_IMAGINARY_TABLE[i]) << i;
  }
  EXPECT_EQ(file.geometry.directions, storedGeometry().directions);
  EXPECT_NEAR(distance(file.geometry.microphones), distance(storedGeometry().microphones), 1e-12);
}

TEST(BeamDesign, DamagedFilesAreRefusedWithTheLine) {
  const std::string good = storedBeamsText();
  const auto refusal = [](const std::string& text) -> std::string {
    try {
      parseBeamFile(text);
    } catch (const std::invalid_argument& error) {
      return error.what();
    }
    return "none";
  };
  const auto with = [&](const std::string& from, const std::string& to) {
    std::string text = good;
    return refusal(text.replace(text.find(from), from.size(), to));
  };
  EXPECT_EQ(refusal(good), "none");
  EXPECT_EQ(refusal("RIFF"), "line 1 is not a list of numbers");
  EXPECT_EQ(refusal(""), "holds no weights of beams");
  EXPECT_EQ(with("0,0,0,", "0,1,0,"), "line 7 has a weight that was there before");
  EXPECT_NE(with("0,0,0,", "3,0,0,").find("line 5 is not beam"), std::string::npos);
  EXPECT_NE(with("0,0,0,0.45773", "0,0,0,nan").find("line 5"), std::string::npos);
  EXPECT_EQ(refusal(good.substr(0, good.size() / 2)).rfind("lacks ", 0), 0U);
  EXPECT_EQ(with("-69.7,-2.4", "68.8,-2.5"), "cannot be: the microphones are at the same place");
}

TEST(BeamDesign, TwoDirectionsAndAnotherPlaceOfTheArray) {
  // Turned by 90 degrees and moved, an array hears from 90 degrees what it heard from 0.
  const Geometry turned = {{{{0.2025, -0.0697}, {0.2024, 0.0688}}}, {90, 180}};
  const Weights weights = designBeams(turned);
  const Weights stored = designBeams(storedGeometry());
  for (std::size_t k = 0; k < kBins; ++k) {
    EXPECT_NEAR(std::abs(weights[0][k][0]), std::abs(stored[0][k][0]), 1e-9);
    EXPECT_EQ(weights[2][k], weights[1][k]);
  }
  EXPECT_NEAR(sideLobeFrequency(turned.microphones), 1227.4, 0.1);
}

TEST(BeamDesign, ValuesThatEveryConstantMoves) {
  // Their last digits hang on the geometry, the noise floor and the bin offset: a design and a
  // table that were changed together are noticed here.
  EXPECT_EQ(stored(0, 1, 0), Complex(0.36658F, 1.0568F));
  EXPECT_EQ(stored(0, 16, 1), Complex(0.12974F, -0.75552F));
  EXPECT_EQ(stored(1, 32, 0), Complex(1.0113F, 0.093265F));
  EXPECT_EQ(stored(2, 63, 1), Complex(0.61551F, -1.3699F));
}

constexpr std::array<double, kBeams> kLook{0.0, 90.0, 180.0};  // azimuth of each beam

template <class Check>
void forEachBeamAndBin(Check check) {
  for (int s = 0; s < kBeams; ++s) {
    for (int k = 0; k < kBins; ++k) {
      SCOPED_TRACE(testing::Message() << "beam " << s << ", bin " << k);
      check({stored(s, k, 0), stored(s, k, 1)}, kLook[static_cast<std::size_t>(s)], k);
    }
  }
}

TEST(BeamDesign, WaveFromTheLookDirectionComesThroughWithTheTiltAlone) {
  forEachBeamAndBin([](const MicrophoneVector& w, double azimuth, int k) {
    const Complex y =
        w[0] * std::polar(1.0, lead(0, azimuth, k)) + w[1] * std::polar(1.0, lead(1, azimuth, k));
    // The fifth digit of a value of 1 or more is 1e-4: 5e-5 each in four parts, 1.42e-4 at worst.
    EXPECT_LT(std::abs(y - (33.0 + k) / 32.0), 1.5e-4);
  });
}

TEST(BeamDesign, NoOtherDistortionlessBeamPassesLessNoise) {
  forEachBeamAndBin([](const MicrophoneVector& w, double azimuth, int k) {
    for (const double phase : {0.0, 90.0, 180.0, 270.0}) {
      // A step that leaves the response in the look direction as it is.
      const Complex step = std::polar(0.01, phase * std::numbers::pi / 180.0);
      const MicrophoneVector other{w[0] + step * std::polar(1.0, -lead(0, azimuth, k)),
                                   w[1] - step * std::polar(1.0, -lead(1, azimuth, k))};
      EXPECT_LT(noisePower(w, k), noisePower(other, k));
    }
  });
}

}  // namespace
