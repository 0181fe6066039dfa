# SPDX-License-Identifier: Apache-2.0
"""Every exported operator against its definition in exact integers, for all operands."""

import z3
from z3 import And, BitVec, Extract, If

from integers import NUMBER, clamped, low, relations_hold, wide
from statements import Statement, equal


def shifted(x, n, bits):
    """floor(x 2^n), held within a signed number. Beyond 40 places there is nothing left."""
    n = clamped_count(n)
    return If(n >= 0, clamped(x << n, bits), x >> -n)


def clamped_count(n):
    return If(n > 40, 40 + 0 * n, If(n < -40, -40 + 0 * n, n))


def redundant_bits(x, bits):
    limit = 1 << (bits - 1)
    doublings = [x << n for n in range(1, bits)]
    return If(x == 0, 0 * x, sum((If(And(d >= -limit, d < limit), NUMBER + 1, NUMBER)
                                  for d in doublings), NUMBER))


def rounded(x):
    return clamped(x + 0x8000, 32) >> 16


def product(numbers, x, y):
    """x y of two words."""
    return wide(numbers.times(x, y))


def in_halves(numbers, x, y):
    """The sum, held from left to right, of three products of halves, without low times low."""
    hx, hy = Extract(31, 16, x), Extract(31, 16, y)
    lx, ly = (z3.ZeroExt(1, Extract(15, 0, v)) for v in (x, y))
    inner = (product(numbers, hx, ly) >> 15) + clamped(2 * product(numbers, hx, hy), 32)
    return clamped(clamped(inner, 32) + (product(numbers, hy, lx) >> 15), 32)


def by_half(numbers, x, a):
    """x a / 2^15 in two parts, the upper one held."""
    l = z3.ZeroExt(1, Extract(15, 0, x))
    upper = clamped(2 * product(numbers, Extract(31, 16, x), a), 32)
    return clamped(upper + (product(numbers, l, a) >> 15), 32)


def doubled(numbers, a, b):
    return clamped(2 * product(numbers, a, b), 32)


def truncated(numbers, d):
    limit = z3.FPVal(2.0**31, z3.Float64())
    whole = wide(z3.fpToSBV(z3.RTZ(), d, z3.BitVecSort(34)))
    inside = If(d >= limit, NUMBER + 2**31 - 1, If(d <= -limit, NUMBER - 2**31, whole))
    return If(z3.fpIsNaN(d), NUMBER, inside)


# By name: the widths of the operands, and the exact result; n are the numbers of the statement.
DEFINITIONS = {
    "saturate": ((32,), lambda n, x: clamped(wide(x), 16)),
    "add": ((16, 16), lambda n, a, b: clamped(wide(a) + wide(b), 16)),
    "sub": ((16, 16), lambda n, a, b: clamped(wide(a) - wide(b), 16)),
    "abs_s": ((16,), lambda n, a: clamped(If(a < 0, -wide(a), wide(a)), 16)),
    "negate": ((16,), lambda n, a: clamped(-wide(a), 16)),
    "extract_h": ((32,), lambda n, x: wide(x) >> 16),
    "extract_l": ((32,), lambda n, x: low(x, 16)),
    "L_mult": ((16, 16), doubled),
    "mult": ((16, 16), lambda n, a, b: clamped(product(n, a, b) >> 15, 16)),
    "mult_r": ((16, 16), lambda n, a, b: clamped((product(n, a, b) + 0x4000) >> 15, 16)),
    "round": ((32,), lambda n, x: rounded(wide(x))),
    "L_mac": ((32, 16, 16), lambda n, x, a, b: clamped(wide(x) + doubled(n, a, b), 32)),
    "L_msu": ((32, 16, 16), lambda n, x, a, b: clamped(wide(x) - doubled(n, a, b), 32)),
    "L_add": ((32, 32), lambda n, x, y: clamped(wide(x) + wide(y), 32)),
    "L_sub": ((32, 32), lambda n, x, y: clamped(wide(x) - wide(y), 32)),
    "L_negate": ((32,), lambda n, x: clamped(-wide(x), 32)),
    "L_abs": ((32,), lambda n, x: clamped(If(x < 0, -wide(x), wide(x)), 32)),
    "L_deposit_h": ((16,), lambda n, a: wide(a) << 16),
    "L_deposit_l": ((16,), lambda n, a: wide(a)),
    "norm_s": ((16,), lambda n, a: redundant_bits(wide(a), 16)),
    "norm_l": ((32,), lambda n, x: redundant_bits(wide(x), 32)),
    "shl": ((16, 16), lambda n, a, by: shifted(wide(a), wide(by), 16)),
    "shr": ((16, 16), lambda n, a, by: shifted(wide(a), -wide(by), 16)),
    "L_shl": ((32, 16), lambda n, x, by: shifted(wide(x), wide(by), 32)),
    "L_shr": ((32, 16), lambda n, x, by: shifted(wide(x), -wide(by), 32)),
    "L_shr_r": ((32, 16), lambda n, x, by: If(
        by > 31, NUMBER, If(by <= 0, shifted(wide(x), -wide(by), 32),
                            shifted(wide(x) + (1 + NUMBER << wide(by) - 1), -wide(by), 33)))),
    "Mpy_32_16": ((32, 16), by_half),
    "L_mult32": ((32, 32), in_halves),
    "L_mpy_ll": ((32, 32), lambda n, x, y: clamped(product(n, x, y) >> 31, 32)),
    "L_saturate": (("double",), truncated)}


def operands(widths):
    return [z3.FP(f"d{i}", z3.Float64()) if width == "double" else BitVec(f"x{i}", width)
            for i, width in enumerate(widths)]


def statements(source):
    yield Statement("what is said of products holds", "parts of words",
                    lambda: None if relations_hold() else "a product")
    module = source.module("src/abi/exported_operators.cpp")
    for name, (widths, definition) in DEFINITIONS.items():
        xs = operands(widths)
        yield Statement(
            f"VORN_{name} is its definition", f"all operands, {domain(widths)}",
            lambda name=name, xs=xs, of=definition: equal(
                module(), f"VORN_{name}", xs, lambda n: of(n, *xs)))


def domain(widths):
    return " x ".join("doubles" if w == "double" else f"2^{w}" for w in widths)
