# SPDX-License-Identifier: Apache-2.0
"""What the intrinsic functions compute: LLVM's own and those of the vector units.

From the language reference of LLVM 14, Intel's intrinsics guide and Arm's architecture manuals.
"""

import re

import z3
from z3 import (BitVecVal, Concat, Extract, If, LShR, SignExt, UGE, UGT, ULE, ULT, ZeroExt, fpEQ,
                fpGT, fpIsNaN, fpLT)

COMPARISONS = {
    "eq": lambda a, b: a == b, "ne": lambda a, b: a != b, "slt": lambda a, b: a < b,
    "sle": lambda a, b: a <= b, "sgt": lambda a, b: a > b, "sge": lambda a, b: a >= b,
    "ult": ULT, "ule": ULE, "ugt": UGT, "uge": UGE, "ogt": fpGT, "olt": fpLT, "oeq": fpEQ,
    "ord": lambda a, b: z3.Not(z3.Or(fpIsNaN(a), fpIsNaN(b)))}


def least(a, b):
    return If(a < b, a, b)


def most(a, b):
    return If(a > b, a, b)


def saturated(x, bits):
    """x, of more bits, held within a signed number of fewer."""
    limit = 1 << (bits - 1)
    return Extract(bits - 1, 0, If(x > limit - 1, BitVecVal(limit - 1, x.size()),
                                   If(x < -limit, BitVecVal(-limit, x.size()), x)))


def exactly(operation, extend=SignExt):
    """Of operands with two bits more."""
    return lambda a, b: operation(extend(2, a), extend(2, b))


def add(a, b):
    return a + b


def sub(a, b):
    return a - b


def leading_zeros(x):
    w = x.size()
    count = BitVecVal(w, w)
    for bit in range(w):
        count = If(Extract(bit, bit, x) == 1, BitVecVal(w - 1 - bit, w), count)
    return count


def funnel(a, b, count):
    w = a.size()
    return Extract(2 * w - 1, w, Concat(a, b) << ZeroExt(w, z3.URem(count, BitVecVal(w, w))))


def shifted(x, count):
    """By a signed count in its lowest byte, right if it is negative."""
    w = x.size()
    by = SignExt(w - 8, Extract(7, 0, count))
    return If(by >= 0, x << by, x >> -by)


def halved(operation):
    return lambda a, b: Extract(a.size(), 1, exactly(operation)(a, b))


def doubled_product(times, rounding):
    """The upper half of a doubled product, saturated."""
    def of(a, b):
        w = a.size()
        product = SignExt(2, times(a, b)) * 2 + rounding * (1 << (w - 1))
        return saturated(product >> w, w)
    return of


def part(times, half):
    """The upper 32 of 48 bits: a word times a half of another, and a sum."""
    def of(word, halves, sum_of):
        factor = Extract(31, 16, halves) if half else Extract(15, 0, halves)
        return Extract(47, 16, times(word, factor)) + sum_of
    return of


def by_element(times):
    """Operations from elements to an element, by the pattern of the intrinsic's name."""
    def high(a, b):
        return Extract(31, 16, times(a, b))
    return {
        r"sadd\.sat|neon\.sqadd|qadd": lambda a, b: saturated(exactly(add)(a, b), a.size()),
        r"ssub\.sat": lambda a, b: saturated(exactly(sub)(a, b), a.size()),
        r"usub\.sat": lambda a, b: If(ULT(a, b), 0 * a, a - b),
        r"smin|vmins": least, r"smax|vmaxs": most,
        r"umin": lambda a, b: If(ULT(a, b), a, b), r"umax": lambda a, b: If(UGT(a, b), a, b),
        r"fshl": funnel,
        r"pmulh\.w": high,
        r"pmulhu\.w": lambda a, b: Extract(31, 16, times(ZeroExt(1, a), ZeroExt(1, b))),
        r"sqdmulh": doubled_product(times, 0), r"vqdmulh": doubled_product(times, 0),
        r"sqrdmulh": doubled_product(times, 1), r"vqrdmulh": doubled_product(times, 1),
        r"shadd|vhadds": halved(add), r"shsub|vhsubs": halved(sub),
        r"sqxtn|vqmovns": lambda a: saturated(a, a.size() // 2),
        r"smull|vmulls": times,
        r"sshl|vshifts": shifted,
        r"smlawb": part(times, 0), r"smlawt": part(times, 1)}


def call(name, values, numbers, each):
    """The value of a call, element by element."""
    times = numbers.times
    base = name.replace("llvm.", "", 1)
    if base.startswith(("abs", "ctlz")):
        zero_is_poison = not z3.is_false(z3.simplify(values[1].term == 1))
        if base.startswith("abs"):
            return each(lambda x: (If(x < 0, -x, x), *(
                [x == 1 << (x.size() - 1)] if zero_is_poison else [])), values[0])
        return each(lambda x: (leading_zeros(x), *([x == 0] if zero_is_poison else [])), values[0])
    if match := re.match(r"(sadd|ssub|smul)\.with\.overflow", base):
        a, b = (v.term for v in values)
        exact = {"sadd": exactly(add), "ssub": exactly(sub), "smul": times}[match[1]](a, b)
        low = Extract(a.size() - 1, 0, exact)
        over = exact != SignExt(exact.size() - a.size(), low)
        return [each(lambda *_: (result,), *values)
                for result in (low, If(over, BitVecVal(1, 1), BitVecVal(0, 1)))]
    if match := re.search(r"pmadd\.wd|packssdw|packuswb|pminps|sminp|vpmins", base):
        return across(match[0], values, times, each)
    for pattern, operation in by_element(times).items():
        if re.search(rf"(^|\.)({pattern})(\.|$)", base):
            return each(lambda *terms: (operation(*terms),), *values)
    raise NotImplementedError(name)


def across(name, values, times, each):
    """Operations that bring several elements together."""
    if name == "pmadd.wd":
        products = each(lambda a, b: (times(a, b),), *values)
        return [each(lambda a, b: (a + b,), *products[i:i + 2]) for i in range(0, len(products), 2)]
    both = [*values[0], *values[1]]
    if name == "packssdw":
        return each(lambda x: (saturated(x, 16),), both)
    if name == "packuswb":
        return each(lambda x: (Extract(7, 0, If(x < 0, 0 * x, If(x > 255, BitVecVal(255, 16), x))),),
                    both)
    return [each(lambda a, b: (least(a, b),), *both[i:i + 2]) for i in range(0, len(both), 2)]
