# SPDX-License-Identifier: Apache-2.0
"""Divisions: the loops step by step, their closed forms, and what the fast forms divide.

With h = floor(den / 2) and exact integers, a step of the long division is

    r >= h:  r <- 2 (r - h) + 1, q <- 2 q + 1        else  r <- 2 r, q <- 2 q
"""

import z3
from z3 import And, BitVec, If, Implies, Int, Not, Or

from execution import Execution, Value, either
from integers import NUMBER, Integers, clamped, low, unsigned, wide
from statements import Statement, equal, refuted

A16, A32 = ([BitVec("num", bits), BitVec("den", bits)] for bits in (16, 32))
LEAST, MOST = -(1 << 31), (1 << 31) - 1


def long_division(r, den):
    h = den >> 1
    return r >= h, If(r >= h, 2 * (r - h) + 1, 2 * r)


def short_division(r, den):
    r = clamped(2 * r, 32)
    return r >= den, If(r >= den, clamped(r - den, 32), r)


def loop_is(module, name, operands, entered, step, count):
    """Whether the function's loop, entered where it is said to be, takes `count` of the steps, and
    its result is the quotient. The loop's variables may have any values in between."""
    numbers = Integers(entered)
    execution = Execution(module, numbers)
    blocks = module[name].blocks
    head, = {i.rest.rsplit(", !llvm.loop", 1)[0].rsplit("%", 1)[1] for block in blocks.values()
             for i in block if "!llvm.loop" in i.rest}
    phis = [i for i in blocks[head] if i.name == "phi"]
    num, den = operands
    outside = []
    for path in execution.paths(name, [Value(x, False) for x in operands], back=head):
        if path.next is None:  # does not come to the loop
            outside.append(z3.BoolVal(False) if not path.conditions else And(path.conditions))
            continue
        previous, env = path.next
        first = {i.result: execution.phi(i, previous, env).term for i in phis}
        remainder, = (key for key, x in first.items() if not z3.is_bv_value(x))
        counter, = (key for key in first
                    if any(i.name == "add" and i.rest.endswith(f"i32 {key}, 1")
                           for block in blocks.values() for i in block))
        quotient, = first.keys() - {remainder, counter}
        if found := refuted(numbers, path.conditions, And(
                wide(first[remainder]) == wide(num), first[quotient] == 0, first[counter] == 0)):
            return f"{found} at the loop's beginning"
        r, q, i = (BitVec(key, first[phi].size()) for key, phi in
                   (("r", remainder), ("q", quotient), ("i", counter)))
        some = [*path.conditions, r >= LEAST, r <= MOST, q >= 0, q < 1 << 30, i >= 0, i < count]
        bit, want = step(wide(r), wide(den))
        total = 2 * wide(q) + If(bit, NUMBER + 1, NUMBER)
        values = {**env, remainder: Value(r, False), quotient: Value(q, False),
                  counter: Value(i, False)}
        for turn in execution.paths(name, [], path.memory, head, values, head):
            if turn.next is None:
                claim = And(i == count - 1, wide(turn.result.term) == low(
                    total, turn.result.term.size()))
            else:
                after = {p.result: execution.phi(p, *turn.next).term for p in phis}
                claim = And(i < count - 1, after[counter] == i + 1,
                            wide(after[quotient]) == total,
                            wide(after[remainder]) == clamped(want, 32))
            if found := refuted(numbers, some + turn.conditions,
                                And(claim, Not(Or(*turn.undefined)))):
                return found
    return refuted(numbers, [], Not(Or(*outside)))


def holds(claim, *assumptions):
    solver = z3.Solver()
    solver.set("timeout", 60000)
    solver.add(*assumptions, Not(claim))
    answer = solver.check()
    if answer == z3.unknown:
        raise RuntimeError("the solver gives up")
    return None if answer == z3.unsat else str(solver.model())


def held_remainder_gives_the_same_bits():
    """A remainder held within 32 bits stays the exact one, held: then r >= h is the same for both."""
    r, den = Int("r"), Int("den")

    def held(x):
        return If(x > MOST, MOST, If(x < LEAST, LEAST, x))

    def step(x):
        return If(x >= den / 2, 2 * (x - den / 2) + 1, 2 * x)
    return holds(And((held(r) >= den / 2) == (r >= den / 2), held(step(held(r))) == held(step(r))),
                 den >= LEAST, den <= MOST)


def steps_keep_the_invariant():
    """num 2^n = q d + r and 0 <= r < d, for d = 2 h - 1; P is q d, X is num 2^n. From r >= d on, all
    bits are 1."""
    r, den, d, product, x = (Int(name) for name in ("r", "den", "d", "P", "X"))
    bit = r >= den / 2
    after = If(bit, 2 * (r - den / 2) + 1, 2 * r)
    doubled = 2 * product + If(bit, d, 0)
    return holds(And(Implies(And(r < d, x == product + r),
                             And(after >= 0, after < d, 2 * x == doubled + after)),
                     Implies(r >= d, And(bit, after >= d))),
                 den > 1, d == 2 * (den / 2) - 1, r >= 0)


def normalised_division_is_exact():
    """For num < 2^30 and m = den 2^b in 2^30..2^31 - 1 with d from m, floor(num 2^b / d) is q =
    floor(num / den). Or num is d itself, where the clamp takes one away from 2^b = q + 1."""
    q, r, den, power = z3.Reals("q r den power")  # two bounds with products, not only of integers
    found = holds(And(q < power, q * den * power >= q * 2**30), den * power >= 2**30, q >= 0,
                  r >= 0, q * den + r < 2**30, power >= 1)
    num, den, q, r, product = (Int(name) for name in ("num", "den", "q", "r", "P"))  # P = q den
    for b in range(31):
        d = 2 * (den * 2**b / 2) - 1
        q_d = product * 2**b - (q if b else 0)  # where b is 0, q is 0
        exact = And(q_d <= num * 2**b, num * 2**b < q_d + d)
        clamp = And(num == d, q == 2**b - 1)
        found = found or holds(
            Or(exact, clamp), q >= 0, q < 2**b, product * 2**b >= q * 2**30,
            Implies(q == 0, product == 0), num == product + r, 0 <= r, r < den, 0 <= num,
            num < 2**30, den * 2**b >= 2**30, den * 2**b < 2**31)
    return found


def quotient_of(numbers, num, den):
    return unsigned(numbers.divided(*(z3.Extract(63, 0, x) for x in (num, den))))


def closed_form(numbers):
    num, den = A32
    d = 2 * (wide(den) >> 1) - 1
    closed = If(wide(num) >= d, NUMBER + MOST, quotient_of(numbers, wide(num) << 31, d))
    return If(num == 0, NUMBER, If(num == den, NUMBER + MOST, closed))


def reduced(num, den):
    for limit, bits in ((0x800000, 8), (0x80000, 4), (0x8000, 4)):
        large = den >= limit
        num, den = If(large, num >> bits, num), If(large, den >> bits, den)
    return num, den


def in_q8(numbers):
    num, den = map(wide, A32)
    n, d = reduced(num, den)
    return If(num >> 7 >= den, NUMBER + 32767, clamped(quotient_of(numbers, n << 8, d), 16))


def in_q15(numbers):
    num, den = map(wide, A32)
    n, d = reduced(num, den)
    return If(num >> 15 >= den, NUMBER + 32767, quotient_of(numbers, (n << 15) - n, d))


def statements(source):
    operators = source.module("src/abi/exported_operators.cpp")
    helpers = source.module("proofs/helpers.cpp")
    num, den = A32
    inside = And(num >= 0, den > 0)
    short = wide(reduced(*map(wide, A32))[0]) < 32768
    return [
        Statement("VORN_div_s from its loop: 15 steps", "0 > num or num > den",
                  lambda: loop_is(operators(), "VORN_div_s", A16, And(
                      Or(A16[0] < 0, A16[0] > A16[1]), A16[0] != 0,
                      A16[0] != A16[1]), short_division, 15)),
        Statement("VORN_div_s = floor(num 2^15 / den)", "0 <= num <= den, den > 0",
                  lambda: equal(operators(), "VORN_div_s", A16, lambda n: If(
                      A16[0] == A16[1], NUMBER + 32767,
                      quotient_of(n, wide(A16[0]) << 15, wide(A16[1]))),
                      [A16[0] >= 0, A16[0] <= A16[1], A16[1] > 0])),
        Statement("VORN_L_div32 from its loop: 31 exact steps", "0 > num or den < 2",
                  lambda: loop_is(operators(), "VORN_L_div32", A32, And(
                      Or(num < 0, den < 2), num != 0, num != den), long_division, 31)),
        Statement("a held remainder changes no bit of 31 steps", "all r, all den",
                  held_remainder_gives_the_same_bits),
        Statement("a step keeps num 2^n = q d + r, 0 <= r < d", "all num >= 0, den > 1",
                  steps_keep_the_invariant),
        Statement("VORN_L_div32 = min(floor(num 2^31 / d), 2^31 - 1)", "all num >= 0, den > 1",
                  lambda: equal(operators(), "VORN_L_div32", A32, closed_form,
                                [num >= 0, den > 1])),
        Statement("31 steps of normalised operands: floor(num / den)", "num < 2^30, den > 0",
                  normalised_division_is_exact),
        Statement("quotient() = floor(num / den)", "0 <= num < 2^30, den > 0",
                  lambda: equal(helpers(), "quotient", A32, lambda n: quotient_of(
                      n, *map(wide, A32)), [inside, num < 1 << 30])),
        Statement("quotientQ8() divides the reduced operands", "num >= 0, den > 0",
                  lambda: equal(helpers(), "quotientQ8", A32, in_q8, [inside])),
        Statement("quotientQ15() divides the reduced operands", "num >= 0, den > 0, reduced < 2^15",
                  lambda: equal(helpers(), "quotientQ15", A32, in_q15, [inside, short]))]
