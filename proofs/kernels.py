# SPDX-License-Identifier: Apache-2.0
"""Kernels with blocks of 8 words: every form that is listed against the definition, with --all."""

import z3
from z3 import And, BitVec, BitVecVal

from helpers import array, between
from integers import NUMBER, clamped, wide
from operators import by_half, in_halves, redundant_bits, rounded, shifted
from statements import X86, Statement, computes

X, SPECTRUM, OVERLAP, OUT = array("x", 8), array("x", 16), array("o", 4), array("out", 8)
F, SAMPLES = array("f", 8, 16), array("s", 8, 16)
PREVIOUS, EXPONENT, HEADROOM = BitVec("previous", 32), BitVec("e", 16), BitVec("headroom", 16)
PREEMPHASIS = BitVecVal(-866019132, 32)


def multiply(n):
    return {0: [by_half(n, x, f) for x, f in zip(X, F)]}


def preemphasise(n):
    return {3: [clamped(wide(x) + in_halves(n, PREEMPHASIS, before), 32)
                for before, x in zip([PREVIOUS, *X], X)]}


def scale_bins(n):
    return {0: [by_half(n, x, F[i // 2]) for i, x in enumerate(SPECTRUM)]}


def add_overlap(_):
    time = [shifted(wide(x), -wide(EXPONENT), 32) for x in X]
    return {3: [clamped(t + wide(o), 32) for t, o in zip(time, OVERLAP)], 2: time[4:]}


def deemphasise(n):
    y = clamped(wide(X[0]) + in_halves(n, -PREEMPHASIS, PREVIOUS), 32)
    return {2: [y], 3: [clamped(2 * rounded(y), 16)]}


def normalise_samples(_):
    words, largest = [wide(x) << 16 for x in SAMPLES], NUMBER
    for x in words:
        size = clamped(z3.If(x < 0, -x, x), 32)
        largest = z3.If(size > largest, size, largest)
    shift = redundant_bits(largest, 32) - wide(HEADROOM)
    return {2: [shifted(x, shift, 32) for x in words], 3: [shift]}


def within(words, bits):
    return between(words, -1 << bits, (1 << bits) - 1)


BELOW_30 = BitVecVal((1 << 30) - 1, 32)
FACTORS = between(F, 0, 32767)
FILES = {"Portable": "kernels/portable.cpp", "Vector": "kernels/vector.cpp"}
BOTH = tuple(FILES)
# Name, arguments, definition, what is said of the operands, that, and the forms.
KERNELS = [
    ("multiply", [X, BELOW_30, F], multiply, "x < 2^30, f >= 0", And(within(X, 30), FACTORS), BOTH),
    ("scaleBins", [SPECTRUM, BELOW_30, F], scale_bins, "x < 2^30, gains >= 0",
     And(within(SPECTRUM, 30), FACTORS), BOTH),
    ("addOverlap", [X, EXPONENT, OVERLAP, OUT[:4]], add_overlap, "exponent >= 0", EXPONENT >= 0, BOTH),
    ("normaliseSamples", [SAMPLES, HEADROOM, OUT, [BitVec("e", 32)]], normalise_samples,
     "headroom 0..30", between([HEADROOM], 0, 30), BOTH),
    ("preemphasise", [X, BELOW_30, PREVIOUS, OUT], preemphasise, "x < 2^30", within(X, 30), BOTH),
    ("deemphasise", [X[:1], BELOW_30, [PREVIOUS], [BitVec("out", 16)]], deemphasise, "x < 2^30",
     within(X[:1], 30), ("Portable",))]


def statements(source):
    for form, file in FILES.items() if source.everything else ():
        module = source.module("proofs/kernels.cpp", X86, f"-DFORM={form}", f'-DFILE="{file}"')
        for name, arguments, definition, said, condition, forms in KERNELS:
            def check(module=module, name=name, arguments=arguments, definition=definition,
                      condition=condition):
                return computes(module(), name, arguments, definition, [condition])
            if form in forms:
                yield Statement(f"{form}::{name} is its definition", said, check)
