# SPDX-License-Identifier: Apache-2.0
"""Exact integers as bit vectors that are wide enough, and products in terms of 16-bit parts.

A SAT solver does not get through the distribution of a product. So a product of parts of 16 bits is
a number of its own, of which bounds and linear relations to other such products are stated. Where
these do not decide, the question is asked once more with the products as they are.
"""

import itertools

from z3 import (Z3_OP_UNINTERPRETED, And, BitVec, BitVecVal, Const, Extract, If, Implies, LShR, Not, Or, Reals, SignExt, Solver,
                SolverFor, ULE, ULT, ZeroExt, is_and, is_bv_value, is_const, is_true, sat, simplify, substitute, unsat)

WIDE = 72  # holds every integer of the statements
NUMBER = BitVecVal(0, WIDE)
ONE = BitVecVal(1, 17)
RANGES = ((0, 16383), (0, 32767), (-32768, 32767), (0, 65535), (-65536, 65535))
BOUNDED, RELATED, EXACTLY = range(3)  # what is said of products
SECOND = 600000  # about, of the solver's steps: what it decides does not depend on the machine's load


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
    return ZeroExt(33, part) if part.size() == 1 else SignExt(17, part)


def variables(*terms):
    """The variables that terms are made of, in the order in which they are met."""
    found, seen, todo = [], set(), list(terms)
    while todo:
        term = todo.pop()
        if term.get_id() in seen:
            continue
        seen.add(term.get_id())
        todo.extend(term.children())
        if is_const(term) and term.decl().kind() == Z3_OP_UNINTERPRETED:
            found.append(term)
    return found


class Integers:
    """Products, quotients and what is assumed of a statement's operands."""

    def __init__(self, *assumptions):
        self.assumptions = assumptions
        self.products = []
        self.quotients = []
        self.sums = {}
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
        solver.set("rlimit", SECOND)
        solver.add(*self.assumptions, Not(condition))
        return solver.check() == unsat

    def possible(self, conditions):
        """Whether the conditions can hold, as far as that is seen without products."""
        solver = SolverFor(self.logic)
        solver.set("rlimit", SECOND)
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
        """x y of parts of 17 bits, in terms of products of the fields of words."""
        if is_bv_value(x):
            x, y = y, x
        if is_bv_value(y):
            factor = y.as_signed_long()
            if factor >= 0 and factor & (factor + 1) == 0:  # 2^k - 1
                return (signed34(x) << factor.bit_length()) - signed34(x)
            if factor & (factor - 1) == 0:  # 2^k
                return factor * signed34(x)
        if all([word.size() for word in variables(part)] == [32] for part in (x, y)):
            return self.opaque(x, y)  # too many products of fields
        total = BitVecVal(0, 34)
        for (a, p), (b, q) in itertools.product(self.linear(x), self.linear(y)):
            if p.eq(ONE) or q.eq(ONE):
                term = signed34(q if p.eq(ONE) else p)
            elif p.size() == 1 or q.size() == 1:
                bit, other = (p, q) if p.size() == 1 else (q, p)
                term = If(bit == 1, signed34(other), BitVecVal(0, 34))
            else:
                term = self.opaque(p, q)
            total += a * b * term
        return simplify(total)

    def opaque(self, x, y):
        for a, b, p in self.products:
            if (x.eq(a) and y.eq(b)) or (x.eq(b) and y.eq(a)):
                return p
        self.products.append((x, y, BitVec(f"product!{len(self.products)}", 34)))
        return self.products[-1][2]

    def linear(self, x):
        """[(factor, field)], whose sum is x: fields of the one word that x is made of, as numbers of
        17 bits, single bits or ONE. Of other numbers, x itself."""
        if x.get_id() not in self.sums:
            self.sums[x.get_id()] = (x, self.sum_of_fields(x) or [(1, x)])
        return self.sums[x.get_id()][1]

    def sum_of_fields(self, x):
        words = variables(x)
        if len(words) != 1 or words[0].size() not in (16, 32):
            return None
        word, = words
        bits = word.size()
        upper = bits - 16
        fields = {1 << upper: simplify(SignExt(1, Extract(bits - 1, upper, word))),
                  -1 << upper: Extract(bits - 1, bits - 1, word)}
        if upper:
            fields |= {1 << 15: Extract(15, 15, word), 1 << 14: Extract(14, 14, word),
                       1: ZeroExt(3, Extract(13, 0, word))}

        def at(number):
            return simplify(substitute(x, (word, BitVecVal(number, bits)))).as_signed_long()
        factors = {place: at(place) - at(0) for place in fields}
        factors[-1 << upper] += factors[1 << upper]
        found = [(factor, fields[place]) for place, factor in factors.items() if factor]
        if at(0):
            found.append((at(0), ONE))
        total = sum(factor * (ZeroExt(39, field) if field.size() == 1 else SignExt(23, field))
                    for factor, field in found)
        if not found or not self.always(SignExt(23, x) == total):
            return None
        return [(factor, field) for factor, field in found
                if field.size() > 1 or not self.always(field == 0)]

    def divided(self, num, den):
        """floor(num / den) of 64-bit numbers without signs, den > 0."""
        q = BitVec(f"quotient!{len(self.quotients)}", 64)
        self.quotients.append((num, den, q))
        return q

    def bounds(self, x, y):
        """The least and the largest product."""
        def ends(part):
            if is_bv_value(part):
                return [part.as_signed_long()]
            return next(ends for ends in RANGES if ends == RANGES[-1] or self.always(
                And(signed34(part) >= ends[0], signed34(part) <= ends[1])))
        corners = [a * b for a, b in itertools.product(ends(x), ends(y))]
        return min(corners), max(corners)

    def facts(self, formulas, how):
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
            if how == EXACTLY:
                yield p == signed34(x) * signed34(y)
                continue
            if how == BOUNDED:
                first, last = self.bounds(x, y)
                yield And(p >= first, p <= last)
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

    def words_of(self, term):
        """The variables that a term depends on."""
        words, todo = set(), [term]
        while todo:
            for x in variables(todo.pop()):
                operands = next((n[:2] for n in (*self.products, *self.quotients) if n[2].eq(x)), ())
                words |= set() if operands else {str(x)}
                todo += operands
        return words

    def counterexample(self, conditions, claim):
        """A model of the conditions in which the claim is false, or None."""
        premises = [part for c in (*self.assumptions, *conditions) for part in conjuncts(c)]
        words = self.words_of(claim)
        near = [p for p in premises if self.words_of(p) <= words]
        for how, said in ((BOUNDED, near), (BOUNDED, premises), (RELATED, premises),
                          (EXACTLY, premises)):
            question = [Not(claim), *said]
            question += self.facts(question, how)
            shape = renamed(And(*question))
            if shape.get_id() in PROVED:
                return None
            solver = SolverFor(self.logic)
            solver.set("rlimit", (60 if how == EXACTLY else 20) * SECOND)
            solver.add(*question)
            answer = solver.check()
            if answer == unsat:
                PROVED[shape.get_id()] = shape
                return None
            if answer == sat and (model := self.confirmed(solver.model(), claim, premises)):
                return model
        raise RuntimeError("the solver gives up")

    def confirmed(self, model, claim, premises):
        """The model with the products as they are, if it still is one."""
        question = [Not(claim), *premises]
        question += self.facts(question, EXACTLY)
        solver = SolverFor(self.logic)
        solver.set("rlimit", 20 * SECOND)
        solver.add(*question, *(x == model.eval(x, True) for x in variables(*question)
                                if "!" not in str(x)))
        return solver.model() if solver.check() == sat else None


PROVED = {}  # by their numbers: contradictions, whatever their variables are called


def conjuncts(condition):
    if is_and(condition):
        return [part for child in condition.children() for part in conjuncts(child)]
    return [condition]


def renamed(formula):
    """With variables that are called by the order in which they are met."""
    words = variables(formula)
    return substitute(formula, *((x, Const(f"word{i}", x.sort())) for i, x in enumerate(words)))


def relations_hold():
    """The relations above, of all real numbers, which are easier to decide; and products by numbers
    that have a form of their own."""
    part = BitVec("part", 17)
    for factor in (-9, -8, -2, -1, 0, 1, 2, 7, 8, 9, 32767, -32768):
        numbers, factor = Integers(), BitVecVal(factor, 17)
        claim = numbers.product(part, factor) == signed34(part) * signed34(factor)
        solver = Solver()
        solver.add(Not(claim), *numbers.facts([claim], EXACTLY))
        if solver.check() != unsat:
            return False
    x, y, x2 = Reals("x y x2")
    bounds = [And(n >= -65536, n < 65536) for n in (x, y, x2)]
    for claim in relations(x, y, x * y, [(x2, x2 * y)]):
        solver = Solver()
        solver.add(*bounds, Not(claim))
        if solver.check() != unsat:
            return False
    return True
