# SPDX-License-Identifier: Apache-2.0
"""What the vector kernels are written in, element by element, under the conditions of sse2.h; and the
products with a sum of products.h. With --all of the other processors, too."""

from z3 import And, BitVec, Extract, If, Or, ZeroExt

from integers import NUMBER, clamped, low, wide
from operators import product
from statements import UNITS, X86, Statement, computes


def array(name, count, bits=32):
    return [BitVec(f"{name}{i}", bits) for i in range(count)]


A, B, X8, OUT = array("a", 4), array("b", 4), array("x", 8), array("out", 4)
F, G, S = array("f", 4, 16), array("g", 4, 16), array("s", 8, 16)
OUT16, LEFT, RIGHT, FACTOR = array("out", 8, 16), BitVec("left", 32), BitVec("right", 32), BitVec(
    "f", 16)
ALWAYS = And()


def between(words, least, most):
    return And(*(And(wide(x) >= least, wide(x) <= most) for x in words))


def below(words, limit):
    """Of magnitudes."""
    return between(words, 1 - limit, limit - 1)


def size(x):
    return If(x < 0, -wide(x), wide(x))


def floored(n, x, f):
    return product(n, x, f) >> 15


def nearly_all(_, x):
    return (wide(x) << 15) - wide(x) >> 15


def each(operation, *arrays):
    """The definition of what is left in the array that follows the operands."""
    return lambda n: {len(arrays): [operation(n, *elements) for elements in zip(*arrays)]}


def by_pairs(n):
    return {2: [floored(n, x, F[i // 2]) for i, x in enumerate(X8)]}


def largest(words):
    found = NUMBER
    for x in words:
        found = If(size(x) > found, size(x), found)
    return found


def squares(n):
    def square(words):
        negated = Extract(15, 0, -largest(words))
        p = product(n, negated, negated)
        return If(p > (1 << 30) - 1, NUMBER + (1 << 30) - 1, p)
    return {2: [square(S), square(T)]}


T, BYTES = array("t", 8, 16), array("c", 4, 8)
TRUE = NUMBER + 1


def magnitudes(n):
    parts = [clamped(wide(x), 16) for x in (*A, *B)]
    parts = [product(n, x, x) for x in (Extract(15, 0, p) for p in parts)]
    return {2: [low(re + im, 32) for re, im in zip(parts[::2], parts[1::2])]}


def pairs(n):
    return {3: [product(n, S[i], f) + product(n, S[i + 1], g)
                for i, f, g in zip((0, 0, 2, 4), F, G)]}


NOT_NEGATIVE = between(F, 0, 1 << 15)

# Name, arguments, definition, what is said of the operands, that, and operands just beyond it, for
# which it does not hold.
VECTORS = [
    ("mulQ15", [A, F, OUT], each(floored, A, F), "|x| < 2^31 - 2^15", below(A, (1 << 31) - (1 << 15)),
     [between(A, (1 << 31) - (1 << 15), (1 << 31) - (1 << 15))]),
    ("share", [A, F, OUT], each(floored, A, F), "|x| < 2^30, f >= 0",
     And(below(A, 1 << 30), NOT_NEGATIVE),
     [And(between(A, 1 << 30, 1 << 30), NOT_NEGATIVE), And(below(A, 1 << 30), between(F, -1, -1))]),
    ("shareOfAny", [A, F, OUT], each(floored, A, F), "f >= 0", NOT_NEGATIVE, []),
    ("shareLess", [A, F, OUT], each(lambda n, x, f: floored(n, x, f) - (wide(f) << 15), A, F),
     "x, f >= 0", And(NOT_NEGATIVE, between(A, 0, 1 << 31)), [And(NOT_NEGATIVE, between(A, -1, -1))]),
    ("mulHighQ15", [A, F, OUT], each(lambda n, x, f: floored(n, Extract(31, 16, x), f), A, F),
     "f > -2^15", And(*(f != -32768 for f in F)), []),
    ("byPairFactors", [X8, F, array("out", 8)], by_pairs, "|x| < 2^30, f >= 0",
     And(below(X8, 1 << 30), NOT_NEGATIVE), []),
    ("byWideFactors", [A, F, OUT], each(floored, A, F), "|x| < 2^30, f >= 0",
     And(below(A, 1 << 30), NOT_NEGATIVE), []),
    ("byOneFactor", [A, FACTOR, OUT], lambda n: {2: [floored(n, x, FACTOR) for x in A]},
     "|x| < 2^31 - 2^15", below(A, (1 << 31) - (1 << 15)), []),
    ("mulLargest", [A, OUT], each(nearly_all, A), "x <= 2^31 - 2^15",
     between(A, -1 << 31, (1 << 31) - (1 << 15)), [between(A, (1 << 31) - 32767, (1 << 31) - 1)]),
    ("mulAnyByLargest", [A, OUT], each(nearly_all, A), "any", ALWAYS, []),
    ("halfSum", [A, B, OUT], each(lambda n, a, b: wide(a) + wide(b) >> 1, A, B), "|a|, |b| < 2^30",
     below([*A, *B], 1 << 30), [between([*A, *B], 1 << 30, 1 << 30)]),
    ("halfDifference", [A, B, OUT], each(lambda n, a, b: wide(a) - wide(b) >> 1, A, B),
     "|a|, |b| < 2^30", below([*A, *B], 1 << 30),
     [And(between(A, 1 << 30, 1 << 30), between(B, -1 << 30, -1 << 30))]),
    ("saturatedSum", [A, B, OUT], each(lambda n, a, b: clamped(wide(a) + wide(b), 32), A, B), "any",
     ALWAYS, []),
    ("squaredMagnitudes", [A, B, OUT], magnitudes, "any", ALWAYS, []),
    ("product16", [A, B, OUT], each(product, A, B), "16 bits, one not negative",
     And(between(A, 0, 32767), between(B, -32768, 32767)), [And(between(A, -1, -1), between(B, -5, -5))]),
    ("loadWide", [F, OUT], each(lambda n, x: wide(x), F), "any", ALWAYS, []),
    ("storeSaturated", [A, OUT16[:4]], each(lambda n, x: clamped(wide(x), 16), A), "any", ALWAYS, []),
    ("storeDoubled", [X8, OUT16],
     each(lambda n, x: clamped(2 * clamped(wide(x), 16), 16), X8), "any", ALWAYS, []),
    ("storeSaturatedSum", [A, F, OUT16[:4]],
     each(lambda n, x, f: clamped(clamped(wide(x), 16) + wide(f), 16), A, F), "any", ALWAYS, []),
    ("storeShifted", [S, LEFT, RIGHT, X8],
     lambda n: {3: [low(wide(x) << 16 + wide(LEFT), 32) >> wide(RIGHT) for x in S]},
     "0 <= left, right < 32", And(between([LEFT, RIGHT], 0, 31)), [between([LEFT, RIGHT], 32, 32)]),
    ("flags", [A, array("out", 4, 8)], each(lambda n, x: If(x < 0, TRUE, NUMBER), A), "any", ALWAYS,
     []),
    ("maskOfFlags", [BYTES, OUT], each(lambda n, x: If(x == 0, NUMBER, -TRUE), BYTES), "any",
     ALWAYS, []),
    ("anyOf", [A], lambda n: {"result": [If(Or(*(x < 0 for x in A)), TRUE, NUMBER)]}, "any", ALWAYS,
     []),
    ("isOutside", [S, F[0], F[1]], lambda n: {"result": [
        If(Or(*(Or(x < F[0], x > F[1]) for x in S)), TRUE, NUMBER)]}, "any", ALWAYS, []),
    ("weightedPairs", [S, F, G, OUT], pairs, "weights >= 0", between([*F, *G], 0, 32767),
     [between([*F, *G, *S], -32768, -32768)]),
    ("multiplyEight", [S, FACTOR, OUT16], lambda n: {2: [floored(n, x, FACTOR) for x in S]},
     "f > -2^15", FACTOR != -32768, [FACTOR == -32768]),
    ("largestMagnitude", [S], lambda n: {"result": [largest(S)]}, "any", ALWAYS, []),
    ("largestSquares", [S, T, OUT[:2]], squares, "any", ALWAYS, [])]


def added(sum_of, word, factor):
    return lambda n: {"result": [low(wide(sum_of) + (product(n, word, factor) >> 16), 32)]}


def value(operation):
    return lambda n: {"result": [operation(n)]}


PRODUCTS = [
    ("addByFirst", [A[0], A[1], F[:2]], added(A[0], A[1], F[0]), "|sum| < 2^30", below(A[:1], 1 << 30),
     []),
    ("addBySecond", [A[0], A[1], F[:2]], added(A[0], A[1], F[1]), "|sum| < 2^30",
     below(A[:1], 1 << 30), []),
    ("addByOne", [A[0], A[1], FACTOR], added(A[0], A[1], FACTOR), "|sum| < 2^30",
     below(A[:1], 1 << 30), []),
    ("factorsOfPair", [F[:2], OUT16[:2]], each(lambda n, x: wide(x), F[:2]), "any", ALWAYS, []),
    ("productOfAny", [A[0], FACTOR], value(lambda n: floored(n, A[0], FACTOR)), "f > -2^15",
     FACTOR != -32768, [FACTOR == -32768]),
    ("addSaturated", A[:2], value(lambda n: clamped(wide(A[0]) + wide(A[1]), 32)), "any", ALWAYS, [])]


LONG = ("largestMagnitude", "largestSquares")


def statements(source):
    units = UNITS if source.everything else UNITS[:1]
    for unit, target, options, listed in units:
        module = source.module("proofs/helpers.cpp", target, *options)
        for name, arguments, definition, said, condition, beyond in (
                [*VECTORS, *PRODUCTS] if listed == "vectors" else PRODUCTS):
            if name in LONG and not source.everything:
                continue
            if unit != "SSE2":  # whose conditions these are; those of the others may be wider
                beyond = []
            def check(module=module, name=name, arguments=arguments, definition=definition,
                      condition=condition, beyond=beyond):
                for assumed, wanted in ((condition, False), *((more, True) for more in beyond)):
                    found = computes(module(), name, arguments, definition, [assumed])
                    if bool(found) != wanted:
                        return found or f"nothing that lies beyond its condition: {assumed}"
                return None
            yield Statement(f"{unit} {name}", said + "; tight" * bool(beyond), check)
