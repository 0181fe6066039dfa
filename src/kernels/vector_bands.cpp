// SPDX-License-Identifier: Apache-2.0
// The kernels over the bands with four bands at a time, for powers, SNRs and gains within the ranges
// that frames have.

#include "kernels/kernels.h"

#ifdef ARVESSA_VECTOR_UNIT

#include <algorithm>

#include "kernels/gain_curves.h"
#include "kernels/vector_unit.h"

namespace arvessa::kernels {
namespace {

constexpr Word32 kUnityQ8 = 256;
static_assert(kBands % 4 == 0);

inline Words least(Words a, Words b) { return a < b ? a : b; }
inline Words largest(Words a, Words b) { return a > b ? a : b; }

// floor(a b / 2^15) of 16-bit numbers, one of which is not negative.
inline Words mult(Words a, Words b) { return product16(a, b) >> 15; }

bool within(std::span<const Word16, kBands> values, Word16 least, Word16 most) {
  Words outside = splat(0);
  for (std::size_t b = 0; b < kBands; b += 8) outside |= outsideOf(&values[b], least, most);
  return !any(outside);
}
// All bits of words that may be negative.
Words unionOf(std::span<const Word32, kBands> words) {
  Words bits = splat(0);
  for (std::size_t b = 0; b < kBands; b += 4) bits |= load(&words[b]);
  return bits;
}

// Shifts dividends and divisors by what quotientQ8 and quotientQ15 shift them.
inline void reduce(Words den, Words& first, Words& second, Words& reducedDen) {
  reducedDen = den;
  if (!any(den >= 0x8000)) return;
  const auto step = [&](Word32 limit, int shift) {
    const Words large = reducedDen >= limit;
    first = large ? first >> shift : first;
    second = large ? second >> shift : second;
    reducedDen = large ? reducedDen >> shift : reducedDen;
  };
  step(0x800000, 8);
  step(0x80000, 4);
  step(0x8000, 4);
}

// quotientQ8 of reduced operands, beyond the ratio of 128 if `large`.
inline Words quotientQ8(Words reducedNum, Words reducedDen, Words large) {
  const Words value = least(quotient(reducedNum << 8, reducedDen), splat(kMax16));
  return large ? splat(kMax16) : value;
}

// Of x >= 0; 0 of 0.
inline Words squareRoot(Words x) {
  const Log4 log4 = log4Of(x);
  Words root = mult(log4.mantissa, splat(4204)) * 2 - 12627;
  root = mult(root, log4.mantissa) * 2 + 21173;
  root = mult(root, log4.mantissa) * 2 + 3634;
  return scaled(root, log4.exponent - 13) & (x != 0);
}
inline Words rootQ15(Words value) { return squareRoot(value << 15); }

// e^-v in Q15 for v >= 0 in Q11.
inline Words expOfNegative(Words v) {
  const Words small = v <= 21290;
  const Words x = product16(-(v & small), splat(23637)) >> 15 << 1;
  const Words fraction = (x & 2047) << 3;
  Words power = mult(splat(1301), fraction) * 2 + 3726;
  power = mult(fraction, power) * 2 + 11356;
  power = mult(fraction, power) * 2 + 16384;
  return least(scaled(power, (x >> 11) + 1), splat(kMax16)) & small;
}

// T(v) / sqrt(v) in Q15 for v >= 0 in Q11.
inline Words amplitudeFactor(Words v) {
  const Words low = v < 20480;
  const Words inside = low ? v : splat(0);
  const Words fraction = (inside & 1023) << 5;
  const Words value =
      interpolated(WVQE_CONST_TABLE_HYPERGEOM_GAIN, inside >> 10, fraction, kMax16 - fraction) >> 7;
  const Words below = smallQuotient(value, squareRoot((inside << 15) + 6711)) << 7;
  if (!any(~low)) return below;
  const Words above = smallQuotient(splat(1087164), largest(v >> 3, splat(1))) + kMax16;
  return low ? below : above;
}

inline Words presenceCurve(Words x) {
  const Words inverse = smallQuotient(splat(kMax16), largest(x, splat(1)));
  return quotient(splat(16776704), mult(inverse, splat(19661)) + 512);
}

inline Words presenceProbability(Words priorSnr, Words v, Words smoothSnr, Words globalPresence) {
  const Words likelihood = least(mult(priorSnr + kUnityQ8, expOfNegative(v)), splat(768));
  const Words localPresence = mult(presenceCurve(smoothSnr), splat(26214)) + 6521;
  const Words presence = mult(localPresence, globalPresence);
  const Words odds = smallQuotient((kMax16 - presence) << 8, presence);
  const Words denominator = (product16(odds, likelihood) >> 8) + kUnityQ8;
  const Words probability = smallQuotient(splat(32767 * 256), denominator);
  return likelihood == 0 ? splat(kMax16) : probability;
}

}  // namespace

void Vector::estimateSnr(const BandPowers& power, std::span<const Word32, kBands> speech,
                         const BasicBandSnrs<Word16>& snr) {
  const Words clean30 = unionOf(speech);
  if (any((unionOf(power.frame) | unionOf(power.noise) | clean30 | clean30 << 1) < 0)) {
    return Plain::estimateSnr(power, speech, snr);
  }
  const Words ceiling = splat(25600);
  for (std::size_t b = 0; b < kBands; b += 4) {
    const Words noise = (load(&power.noise[b]) >> 7) + 1;
    const Words frame = load(&power.frame[b]);
    const Words clean = load(&speech[b]);
    Words reducedFrame = frame, reducedClean = clean, reducedNoise;
    reduce(noise, reducedFrame, reducedClean, reducedNoise);
    const Words posterior = quotientQ8(reducedFrame, reducedNoise, frame >> 7 >= noise) - kUnityQ8;
    const Words limited = least(posterior, ceiling);
    storeSaturated(&snr.posterior[b], limited);
    const Words previous = quotientQ8(reducedClean, reducedNoise, clean >> 7 >= noise);

    Words part = clean, unused = clean, whole;
    reduce(clean + noise, part, unused, whole);
    const Words wiener = quotient((part << 15) - part, whole);
    const Words weight = mult(mult(wiener, wiener), splat(29164)) + 3277;
    const Words current = largest(limited, splat(0));
    const Words combined = product16(kMax16 - weight, previous) + product16(weight, current);
    storeSaturated(&snr.prior[b], least(combined >> 15, ceiling));
  }
}

void Vector::gainsUnderPresence(const BandSnrs& snr, std::span<const Word32, kBands> framePower,
                                std::span<const Word16, kBands> smoothSnr, Word16 globalPresence,
                                std::span<Word32, kBands> speech, const Presence& presence) {
  if (!within(snr.prior, 0, 25600) || !within(snr.posterior, -256, 25600) ||
      !within(smoothSnr, 0, kMax16) || globalPresence < 4024 ||
      any((unionOf(framePower) | unionOf(speech)) < 0)) {
    return Plain::gainsUnderPresence(snr, framePower, smoothSnr, globalPresence, speech, presence);
  }
  const Factors kept = splatFactor(6554);
  for (std::size_t b = 0; b < kBands; b += 4) {
    const Words xi = loadWide(&snr.prior[b]);
    const Words wiener = quotient(xi << 15, xi + kUnityQ8);
    const Factors byWiener = factorsOf(wiener);
    const Words v = mulQ15((loadWide(&snr.posterior[b]) << 3) + 2048, byWiener);
    const Words gain = least(mulQ15(amplitudeFactor(v), byWiener), splat(kMax16));
    storeSaturated(&presence.gain[b], gain);
    const Words part = mult(mult(gain, gain), splat(26214));
    const Words lacking = (part + 6554) << 15;
    store(&speech[b], shareLess(load(&framePower[b]), factorsOf(part)) +
                          shareLess(load(&speech[b]), kept) + lacking);
    storeSaturated(&presence.probability[b],
                   presenceProbability(xi, v, loadWide(&smoothSnr[b]), splat(globalPresence)));
  }
}

void Vector::mixWithFloor(std::span<const Word32, kBands> noise, Word16 floorGain,
                          std::span<const Word16, kBands> probability,
                          std::span<Word16, kBands> gain, std::span<Word16, kBands> bandGain) {
  if (any(unionOf(noise) < 0) || floorGain < 0 || !within(probability, 0, kMax16) ||
      !within(gain, 0, kMax16)) {
    return Plain::mixWithFloor(noise, floorGain, probability, gain, bandGain);
  }
  for (std::size_t b = 0; b < kBands; b += 4) {
    const Words units = load(&noise[b]) >> 7;
    Words part = units, unused = units, whole;
    reduce(units + 1, part, unused, whole);
    const Words noisy = quotient((part << 15) - part, whole);
    const Words floor = mult(rootQ15(noisy), splat(floorGain));
    const Words held = largest(loadWide(&gain[b]), floor);
    storeSaturated(&gain[b], held);
    const Words present = loadWide(&probability[b]);
    const Words root =
        least(mult(rootQ15(held), present) + mult(rootQ15(floor), kMax16 - present), splat(kMax16));
    storeSaturated(&bandGain[b], mult(root, root));
  }
}

}  // namespace arvessa::kernels

#endif  // ARVESSA_VECTOR_UNIT
