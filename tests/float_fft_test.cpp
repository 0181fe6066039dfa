// The float transform: bit for bit against the model, in its fast form and, with copies of the tables,
// in its plain form, and against a DFT in double precision.
#include "beamformer/float_fft.h"

#include <dlfcn.h>

#include <array>
#include <bit>
#include <cmath>
#include <complex>
#include <limits>

#include "beamformer/float_fft_tables.h"
#include "beamformer/software_float.h"
#include "model_fft.h"
#include "support.h"

namespace arvessa::test {
namespace {

using Block = std::vector<float>;

const float* const kTwiddle = MVDR_CONST_TABLE_FFT_fCOEF_8K;
const unsigned short* const kPhase = MVDR_CONST_TABLE_PHASE_INDEX_8K;

// From denormals to far beyond samples, with zeros of both signs.
Block randomBlock(Random& random, std::size_t n, int round) {
  Block block(n);
  const int exponent = round % 40 == 39 ? -155 + random.below(30) : round % 40 - 30;
  for (float& x : block) x = static_cast<float>(std::ldexp(random.wordOf(15), exponent));
  if (round % 3 == 0) {
    const int zeros = round % 9 == 0 ? 16 : 2;
    for (float& x : block) x = random.below(zeros) == 0 ? x : random.below(2) == 0 ? 0.0F : -0.0F;
  }
  // Nothing but zeros, mostly of one sign: a sum is -0 only where all that is added is.
  if (round % 5 == 0) {
    const int one = 2 + random.below(64);
    for (float& x : block) x = random.below(one) == 0 ? 0.0F : -0.0F;
  }
  // A few units of the smallest number, of which every stage rounds many to zeros of either sign.
  if (round % 5 == 1) {
    for (float& x : block) x = std::copysign(std::ldexp(random.below(7), -149), random.wordOf(1));
  }
  return block;
}

// The library knows its own tables by their addresses, and takes its fast form with these only.
TEST(FloatFft, TablesAreTheLibrarysOwn) {
  void* library = dlopen("libArvessa_ANDROID.so", RTLD_NOW | RTLD_NOLOAD);
  ASSERT_NE(library, nullptr) << dlerror();
  EXPECT_EQ(dlsym(library, "MVDR_CONST_TABLE_FFT_fCOEF_8K"), kTwiddle);
  EXPECT_EQ(dlsym(library, "MVDR_CONST_TABLE_PHASE_INDEX_8K"), kPhase);
  dlclose(library);
}

// Smaller transforms too, and calls of full size with other tables than the library's.
TEST(FloatFft, EqualsTheModel) {
  Random random(10);
  for (int round = 0; round < 4000; ++round) {
    const int kind = round % 8;
    const int n = kind == 0 ? 4 << random.below(6) : 128;
    const int stages = kind == 1 ? random.below(6) : std::bit_width(static_cast<unsigned>(n)) - 2;
    // The table serves a transform of 128 samples; a smaller one takes every (128 / n)-th twiddle.
    Block twiddle(static_cast<std::size_t>(n));
    for (std::size_t m = 0; m < twiddle.size(); ++m) {
      const std::size_t at = m / 2 * 2 * static_cast<std::size_t>(128 / n) + m % 2;
      twiddle[m] = kTwiddle[at] * (kind == 2 ? 0.75F : 1.0F);
    }
    std::array<unsigned short, 6> phase;
    for (std::size_t s = 0; s < phase.size(); ++s) {
      phase[s] = static_cast<unsigned short>((n / 2) >> s >> (kind == 3 ? 1 : 0));
    }
    const float* w = kind == 0 || kind == 2 || kind == 4 ? twiddle.data() : kTwiddle;
    const unsigned short* p = kind == 0 || kind == 3 || kind == 4 ? phase.data() : kPhase;

    const Block block = randomBlock(random, static_cast<std::size_t>(n), round);
    Block got = block;
    Block want = block;
    Block gotOut(block.size());
    Block wantOut(block.size());
    MVDR_FFT(got.data(), n, n / 2, stages, w, p, gotOut.data());
    model::MVDR_FFT(want.data(), n, n / 2, stages, w, p, wantOut.data());
    ASSERT_NO_FATAL_FAILURE(expectSameArray(got.data(), want.data(), block.size(), "pairs"));
    ASSERT_NO_FATAL_FAILURE(
        expectSameArray(gotOut.data(), wantOut.data(), block.size(), "forward"));
    MVDR_IFFT(block.data(), n, n / 2, stages, w, p, gotOut.data());
    model::MVDR_IFFT(block.data(), n, n / 2, stages, w, p, wantOut.data());
    ASSERT_NO_FATAL_FAILURE(
        expectSameArray(gotOut.data(), wantOut.data(), block.size(), "inverse"));
    got = want = block;
    MVDR_Complex_FFT(got.data(), n, n / 2, stages, w, p);
    model::MVDR_Complex_FFT(want.data(), n, n / 2, stages, w, p);
    MVDR_Complex_IFFT(got.data(), n, n / 2, stages, w, p);
    model::MVDR_Complex_IFFT(want.data(), n, n / 2, stages, w, p);
    ASSERT_NO_FATAL_FAILURE(expectSameArray(got.data(), want.data(), block.size(), "complex"));
  }
}

// The same bits; what is no number may have any of those that say so.
void expectSameFloat(float got, float want, const std::string& what) {
  if (std::isnan(got) && std::isnan(want)) return;
  EXPECT_EQ(bitsOf(got), bitsOf(want)) << what << ": " << got << ", expected " << want;
}

// What stands in for the operations where they take a library routine each, on every processor.
TEST(FloatFft, IntegerFormsOfFloatOperations) {
  using Limits = std::numeric_limits<float>;
  std::vector<float> operands = {0.0F,
                                 1.0F,
                                 0.7F,
                                 Limits::denorm_min(),
                                 5 * Limits::denorm_min(),
                                 Limits::min(),
                                 std::nextafter(Limits::min(), 1.0F),
                                 std::nextafter(2 * Limits::min(), 0.0F),
                                 std::nextafter(2 * Limits::min(), 1.0F),
                                 32767.0F,
                                 Limits::max(),
                                 Limits::infinity(),
                                 Limits::quiet_NaN()};
  for (std::size_t i = operands.size(); i-- > 0;) operands.push_back(-operands[i]);
  const ComplexFloat twiddles[] = {{1.0F, 0.0F},  {1.0F, -0.0F},      {0.0F, -1.00003052F},
                                   {0.0F, 0.75F}, {-0.0F, 0.5F},      {0.0F, 0.0F},
                                   {0.75F, 0.0F}, {0.7071F, -0.7071F}};
  for (const float re : operands) {
    expectSameFloat(half<true>(re), re * 0.5F, "half");
    for (const float im : operands) {
      for (const auto& [c, s] : twiddles) {
        std::ostringstream what;
        what << '(' << re << ' ' << im << ") (" << c << ' ' << s << ')';
        const ComplexFloat turned = rotated<false, true>(re, im, c, s);
        expectSameFloat(turned.re, (re * c) - (im * s), what.str());
        expectSameFloat(turned.im, (c * im) + (re * s), what.str());
        const ComplexFloat back = rotated<true, true>(re, im, c, s);
        expectSameFloat(back.re, (re * c) + (im * s), what.str());
        expectSameFloat(back.im, (c * im) - (re * s), what.str());
      }
    }
  }
}

TEST(FloatFft, IsTheDftAndItsInverse) {
  Random random(11);
  Block samples(128);
  for (float& x : samples) x = static_cast<float>(random.wordOf(15));
  Block work = samples;
  Block spectrum(128);
  MVDR_FFT(work.data(), 128, 64, 6, kTwiddle, kPhase, spectrum.data());
  for (std::size_t bin = 1; bin < 64; ++bin) {
    std::complex<double> exact = 0;
    for (std::size_t m = 0; m < 128; ++m) {
      exact += std::polar(1.0, -2 * M_PI * static_cast<double>(bin * m) / 128) * double{samples[m]};
    }
    EXPECT_NEAR(spectrum[2 * bin], exact.real() / 64, 3) << bin;
    EXPECT_NEAR(spectrum[2 * bin + 1], exact.imag() / 64, 3) << bin;
  }
  Block back(128);
  MVDR_IFFT(spectrum.data(), 128, 64, 6, kTwiddle, kPhase, back.data());
  for (std::size_t i = 0; i < 128; ++i) EXPECT_NEAR(back[i], samples[i], 32768 * 4.4e-4) << i;
}

// An impulse has the same value in every bin.
TEST(FloatFft, Impulse) {
  Block samples(128);
  samples[0] = 1.0F;
  Block spectrum(128);
  MVDR_FFT(samples.data(), 128, 64, 6, kTwiddle, kPhase, spectrum.data());
  EXPECT_EQ(spectrum[0], 1.0F / 64);
  EXPECT_EQ(spectrum[1], 1.0F / 64);
  for (std::size_t bin = 1; bin < 64; ++bin) {
    EXPECT_NEAR(spectrum[2 * bin], 1.0F / 64, 1e-8);
    EXPECT_NEAR(spectrum[2 * bin + 1], 0, 1e-8);
  }
}

}  // namespace
}  // namespace arvessa::test
