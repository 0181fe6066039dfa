# SPDX-License-Identifier: Apache-2.0
"""Exact integers as bit vectors that are wide enough, and products in terms of 16-bit parts.

A SAT solver does not get through the distribution of a product. So a product of parts of 16 bits is
a number of its own, of which bounds and linear relations to other such products are stated. Where
these do not decide, the question is asked once more with the products as they are.
"""

import itertools

from z3 import (And, BitVec, BitVecVal, Extract, If, Implies, LShR, Not, Or, Reals, SignExt, Solver,
                SolverFor, ULE, ULT, ZeroExt, is_bv_value, is_const, is_true, sat, simplify, unsat)

WIDE = 72  # holds every integer of the statements
NUMBER = BitVecVal(0, WIDE)


def wide(x):
    return SignExt(WIDE - x.size(), x) if x.size() < WIDE else Extract(WIDE - 1, 0, x)


def unsigned(x):
    return ZeroExt(WIDE - x.size(), x)


def clamped(x, bits):
    limit = 1 << (bits - 1)
    return If(x > limit - 1, BitVecVal(limit - 1, WIDE), If(x < -limit, BitVecVal(-limit, WIDE), x))


def low(x, bits):
    """The lowest bits as a signed number."""
    return wide(Extract(bits - 1, 0, x))


def relations(x, y, p, others):
    """What holds of p = x y, and of it and the products of others by the same y; of numbers that
    are modulo 2^34 as well as of those that are not."""
    yield And(Implies(x == 0, p == 0), Implies(x == -32768, p == -32768 * y))
    for a, b in ((x, y), (y, x)):
        for first, last in ((-32768, 32767), (0, 32767), (0, 65535)):
            yield Implies(And(b >= first, b <= last),
                          If(a >= 0, And(p >= first * a, p <= last * a),
                             And(p <= first * a, p >= last * a)))
    yield Implies(And(x >= -32768, y >= -32768, x <= 32767, y <= 32767, p == 1 << 30),
                  And(x == -32768, y == -32768))
    for x2, q in others:
        for factor, offset in itertools.product((1, 2), (0, 1, -65536)):
            yield Implies(x2 == factor * x + offset, q == factor * p + offset * y)


def signed34(part):
    return SignExt(17, part)


class Integers:
    """Products, quotients and what is assumed of a statement's operands."""

    def __init__(self, *assumptions):
        self.assumptions = assumptions
        self.products = []
        self.quotients = []
        self.logic = "QF_BV"

    def parts(self, x):
        """[(part of 17 bits, shift)]: x is the sum of part 2^shift."""
        width = x.size()
        if width <= 16:
            return [(simplify(SignExt(17 - width, x)), 0)]
        half = Extract(15, 0, x)
        for part, whole in ((SignExt(1, half), SignExt(width - 16, half)),
                            (ZeroExt(1, half), ZeroExt(width - 16, half))):
            if self.always(x == whole):
                return [(simplify(part), 0)]
        if width == 17:
            return [(x, 0)]
        upper = [(part, shift + 16) for part, shift in self.parts(Extract(width - 1, 16, x))]
        lower = simplify(ZeroExt(1, half))
        return upper if is_bv_value(lower) and lower.as_long() == 0 else [(lower, 0), *upper]

    def always(self, condition):
        condition = simplify(condition)
        if is_true(condition):
            return True
        solver = SolverFor("QF_BV")
        solver.set("timeout", 2000)
        solver.add(*self.assumptions, Not(condition))
        return solver.check() == unsat

    def possible(self, conditions):
        """Whether the conditions can hold, as far as that is seen without products."""
        solver = SolverFor(self.logic)
        solver.set("timeout", 2000)
        solver.add(*self.assumptions, *conditions)
        return solver.check() != unsat

    def times(self, x, y):
        """x y, exactly, of twice the width of the wider."""
        width = 2 * max(x.size(), y.size())
        total = BitVecVal(0, width)
        for (a, i), (b, j) in itertools.product(self.parts(x), self.parts(y)):
            if i + j < width:
                p = self.product(a, b)
                p = SignExt(width - 34, p) if width > 34 else Extract(width - 1, 0, p)
                total += p << (i + j)
        return simplify(total)

    def product(self, x, y):
        if is_bv_value(x):
            x, y = y, x
        if is_bv_value(y):
            factor = y.as_signed_long()
            if factor & (factor + 1) == 0:  # 2^k - 1
                return (signed34(x) << factor.bit_length()) - signed34(x)
            if factor & (factor - 1) == 0:  # 2^k
                return factor * signed34(x)
        for a, b, p in self.products:
            if (x.eq(a) and y.eq(b)) or (x.eq(b) and y.eq(a)):
                return p
        self.products.append((x, y, BitVec(f"product!{len(self.products)}", 34)))
        return self.products[-1][2]

    def divided(self, num, den):
        """floor(num / den) of 64-bit numbers without signs, den > 0."""
        q = BitVec(f"quotient!{len(self.quotients)}", 64)
        self.quotients.append((num, den, q))
        return q

    def facts(self, formulas, exactly=False):
        """Of the products and quotients that occur in formulas."""
        names, numbers = set(), [*self.products, *self.quotients]
        todo, seen, occurring = list(formulas), set(), []
        while todo:
            term = todo.pop()
            if term.get_id() in seen:
                continue
            seen.add(term.get_id())
            todo.extend(term.children())
            if is_const(term) and "!" in str(term) and str(term) not in names:
                names.add(str(term))
                occurring += [n for n in numbers if n[2].eq(term)]
                todo.extend(occurring[-1][:2])
        factors = [n for n in occurring if n[2].size() == 34]
        for x, y, p in factors:
            if exactly:
                yield p == signed34(x) * signed34(y)
                continue
            for a, b in ((x, y), (y, x)):
                others = [(signed34(pair[0] if pair[1].eq(b) else pair[1]), q)
                          for *pair, q in factors
                          if not q.eq(p) and (pair[0].eq(b) or pair[1].eq(b))]
                yield from relations(signed34(a), signed34(b), p, others)
        for (a, b, q), (c, d, r) in itertools.combinations(factors, 2):
            yield Implies(Or(And(a == c, b == d), And(a == d, b == c)), q == r)
        divided = [n for n in occurring if n[2].size() == 64]
        for num, den, q in divided:  # whose size is that of num / den
            yield And(ULE(q, num), *(ULT(q, 1 << k) == ULT(LShR(num, k), den)
                                     for k in (7, 15, 30, 31)))
        for (a, b, q), (c, d, r) in itertools.combinations(divided, 2):
            yield Implies(And(a == c, b == d), q == r)

    def counterexample(self, conditions, claim):
        """A model of the conditions in which the claim is false, or None."""
        question = [*self.assumptions, *conditions, Not(claim)]
        for exactly in (False, True):
            solver = SolverFor(self.logic)
            solver.set("timeout", 60000)
            solver.add(*question, *self.facts(question, exactly))
            answer = solver.check()
            if answer == unsat:
                return None
            if answer != sat:
                raise RuntimeError("the solver gives up")
        return solver.model()


def relations_hold():
    """The relations above, of all real numbers, which are easier to decide."""
    x, y, x2 = Reals("x y x2")
    bounds = [And(n >= -65536, n < 65536) for n in (x, y, x2)]
    for claim in relations(x, y, x * y, [(x2, x2 * y)]):
        solver = Solver()
        solver.add(*bounds, Not(claim))
        if solver.check() != unsat:
            return False
    return True
