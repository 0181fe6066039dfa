# SPDX-License-Identifier: Apache-2.0
"""Statements, and what decides them."""

import collections
import functools
import pathlib

import z3

from execution import Execution, Value
from integers import Integers, wide
from ir import compiled

X86 = "x86_64-linux-gnu"
# A check returns None, or what refutes the statement.
Statement = collections.namedtuple("Statement", "what domain check")


class Source:
    """The sources that are looked at, and the modules compiled of them."""

    def __init__(self, folder):
        self.folder = pathlib.Path(folder)
        self.module = functools.cache(self.module)

    def module(self, path, target=X86, *options):
        """Compiled when it is first asked for."""
        includes = [f"-I{self.folder / name}" for name in ("src", "include")]
        return functools.cache(lambda: compiled(self.folder / path, target, *includes, *options))


def equal(module, name, operands, definition, assumptions=()):
    """Whether the function of the operands is the definition, and defined behaviour."""
    numbers = Integers(*assumptions)
    if not all(map(z3.is_bv, operands)):
        numbers.logic = "QF_FPBV"
    want = definition(numbers)
    for path in Execution(module, numbers).paths(name, [Value(x, False) for x in operands]):
        claim = z3.And(z3.Not(z3.Or(*path.undefined)), wide(path.result.term) == want)
        if found := refuted(numbers, path.conditions, claim):
            return found
    return None


def refuted(numbers, conditions, claim):
    model = numbers.counterexample(conditions, claim)
    if model is None:
        return None
    known = {str(d): model[d] for d in model.decls() if d.arity() == 0 and "!" not in str(d)}
    return ", ".join(f"{name} = {value.as_signed_long() if z3.is_bv(value) else value}"
                     for name, value in sorted(known.items())) or "any operands"
