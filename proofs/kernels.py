# SPDX-License-Identifier: Apache-2.0
"""Kernels with blocks of a size: every form against the definition, under its condition."""

import z3
from z3 import And, BitVec, BitVecVal, Extract, If, Or

from integers import NUMBER, clamped, low, wide
from operators import by_half, in_halves, product, redundant_bits, rounded, shifted
from statements import X86, Statement, computes

ALL_BITS = 0x7FFFFFFF


def array(name, count, bits=32):
    return [BitVec(f"{name}{i}", bits) for i in range(count)]


def within(words, bits):
    return And(*(And(x >= -(1 << bits), x < 1 << bits) for x in words))


def least(x, y):
    return If(x < y, x, y)


X, F, PREVIOUS, EXPONENT = array("x", 8), array("f", 8, 16), BitVec("previous", 32), BitVec("e", 16)
PREEMPHASIS = BitVecVal(-866019132, 32)


def number(x, bits=32):
    return BitVecVal(x, bits)


def multiply(n):
    return {0: [by_half(n, x, f) for x, f in zip(X, F)]}


def preemphasise(n):
    return {3: [clamped(wide(x) + in_halves(n, PREEMPHASIS, before), 32)
                for before, x in zip([PREVIOUS, *X], X)]}


def powers(n):
    parts = [Extract(15, 0, rounded(shifted(wide(x), -wide(EXPONENT), 32))) for x in X]
    parts[1] = number(0, 16)
    squares = [clamped(2 * product(n, x, x), 32) for x in parts]
    return {2: [clamped(a + b, 32) for a, b in zip(squares[::2], squares[1::2])]}


def scale_bins(n):
    return {0: [by_half(n, x, F[i // 2]) for i, x in enumerate(X2)]}


X2 = array("x", 16)


def add_overlap(n):
    time = [shifted(wide(x), -wide(EXPONENT), 32) for x in X]
    return {3: [clamped(t + wide(o), 32) for t, o in zip(time, OVERLAP)], 2: time[4:]}


OVERLAP = array("o", 4)


def deemphasise(n):
    y = clamped(wide(X[0]) + in_halves(n, -PREEMPHASIS, PREVIOUS), 32)
    return {2: [y], 3: [clamped(2 * rounded(y), 16)]}


SAMPLES = array("s", 16, 16)


def peak_powers(n):
    def peak(samples):
        largest = NUMBER
        for x in samples:
            magnitude = If(x < 0, -wide(x), wide(x))
            largest = If(magnitude > largest, magnitude, largest)
        square = product(n, *[Extract(16, 0, largest)] * 2)
        return least(square, NUMBER + (1 << 30) - 1)
    return {1: [peak(SAMPLES[:8]), peak(SAMPLES[8:])]}


GAIN = BitVec("gain", 32)


def amplify(n):
    return {2: [clamped(by_half(n, GAIN, x), 16) for x in SAMPLES[:8]]}


PLACES = [0, 0, 7, 22]
BANDS, LOWER, UPPER = array("band", 24, 16), array("lower", 4, 16), array("upper", 4, 16)


def spread_to_bins(n):
    return {5: [clamped(clamped(2 * product(n, BANDS[i], a), 32)
                        + clamped(2 * product(n, BANDS[i + 1], b), 32), 32) >> 16
                for i, a, b in zip(PLACES, LOWER, UPPER)]}


POWER, SMOOTH, MINIMUM, WINDOW, NOISE = (array(name, 4) for name in (
    "p", "s", "m", "w", "n"))
ALPHA = BitVec("alpha", 16)


def track_noise(n):
    def mul(x, factor):
        return by_half(n, x, factor if z3.is_bv(factor) else number(factor, 16))

    def added(*terms):
        return clamped(sum(terms, NUMBER), 32)
    p, s = POWER, SMOOTH
    smooth = [added(mul(s[0], 26214), mul(p[0], 6554)),
              *(added(added(mul(s[k], 26214), mul(p[k - 1], 1638)),
                      added(mul(p[k], 3277), mul(p[k + 1], 1638))) for k in (1, 2)),
              added(mul(s[3], 26214), mul(p[3], 6554))]
    minimum = [least(wide(m), x) for m, x in zip(MINIMUM, smooth)]
    active = [mul(Extract(31, 0, x), 10158) > added(m, 20) for x, m in zip(smooth, minimum)]
    noise = []
    for loud, d, power in zip(active, NOISE, p):
        fed = Extract(31, 0, shifted(wide(power), NUMBER + 7, 32))
        update = added(mul(fed, ALPHA), mul(d, 32767 - ALPHA))
        update = If(update < 0, NUMBER, update)
        noise.append(If(Or(Not(loud), wide(d) >> 7 > wide(power)), update, wide(d)))
    return {2: [least(wide(w), x) for w, x in zip(WINDOW, smooth)], 3: minimum, 4: smooth, 5: noise,
            7: [If(loud, NUMBER + 1, NUMBER) for loud in active]}


Not = z3.Not
HEADROOM = BitVec("headroom", 16)


def normalised(words, magnitudes):
    largest = NUMBER
    for x in magnitudes:
        size = clamped(If(x < 0, -x, x), 32)
        largest = If(size > largest, size, largest)
    shift = redundant_bits(largest, 32) - wide(HEADROOM)
    return [shifted(x, shift, 32) for x in words], shift


def normalise(n):
    words, shift = normalised([wide(x) for x in X], [wide(x) for x in X])
    return {0: words, 2: [shift]}


def normalise_samples(n):
    words, shift = normalised(*[[wide(x) << 16 for x in SAMPLES[:8]]] * 2)
    return {2: words, 3: [shift]}


OUT = array("out", 8)
HEADROOMS = And(HEADROOM >= 0, HEADROOM <= 30)
NOTHING_NEGATIVE = And(*(x >= 0 for x in [*POWER, *SMOOTH, *MINIMUM, *WINDOW, *NOISE, ALPHA]))
PARTS = {"Plain": "kernels/plain.cpp", "Portable": "kernels/portable.cpp",
         "Vector": "kernels/vector.cpp"}
POSITIVE = And(*(f >= 0 for f in F))


def kernels(form):
    """(name, arguments, definition, condition as it is said, the condition, one just beyond it)"""
    plain = form == "Plain"
    bits = number(ALL_BITS if plain else (1 << 30) - 1)
    always = z3.BoolVal(True)
    small = always if plain else within(X, 30)
    said = "any words" if plain else "x < 2^30"
    edge = None if plain else And(X[0] == 1 << 30, within(X[1:], 30))
    yield ("multiply", [X, bits, F], multiply, said, And(small, POSITIVE),
           edge if edge is None else And(edge, POSITIVE))
    yield "preemphasise", [X, bits, PREVIOUS, OUT], preemphasise, said, small, edge
    yield ("powers", [X, EXPONENT, OUT[:4]], powers, "any" if plain else "exponent -14 or more",
           always if plain else EXPONENT >= -14, None)
    yield ("scaleBins", [X2, bits, F], scale_bins, said,
           And(POSITIVE, always if plain else within(X2, 30)),
           None if plain else And(POSITIVE, X2[0] == 1 << 30, within(X2[1:], 30)))
    yield ("addOverlap", [X, EXPONENT, OVERLAP, OUT[:4]], add_overlap, "exponent 0 or more",
           EXPONENT >= 0, None)
    yield ("deemphasise", [X[:1], bits, [PREVIOUS], [BitVec("out", 16)]], deemphasise, said,
           always if plain else within(X[:1], 30), None if plain else X[0] == 1 << 30)
    yield "peakPowers", [SAMPLES, OUT[:2]], peak_powers, "any samples", always, None
    yield "normaliseSamples", [SAMPLES[:8], HEADROOM, OUT, [BitVec("e", 32)]], normalise_samples, \
        "headroom 0..30", HEADROOMS, None


def statements(source):
    for form, file in PARTS.items():
        module = source.module("proofs/kernels.cpp", X86, f"-DFORM={form}", f'-DFILE="{file}"')
        for name, arguments, definition, said, condition, beyond in kernels(form):
            def check(module=module, name=name, arguments=arguments, definition=definition,
                      condition=condition):
                return computes(module(), name, arguments, definition, [condition],
                                source.everything)
            yield Statement(f"{form}::{name} is its definition", said, check)
