# SPDX-License-Identifier: Apache-2.0
"""Statements, and what decides them."""

import collections
import functools
import pathlib

import z3

from execution import Execution, Value, bytes_of, from_bytes
from integers import Integers, low
from ir import compiled

X86 = "x86_64-linux-gnu"
# Vector units and the processors that have them, the compiler's options, and what is looked at.
UNITS = [("SSE2", X86, (), "vectors"),
         ("NEON A64", "aarch64-linux-gnu", (), "vectors"),
         ("NEON A32", "armv7-linux-gnueabihf", ("-mfpu=neon", "-marm"), "vectors"),
         ("ARMv5TE", "armv5te-linux-gnueabi", ("-marm",), "products")]
# A check returns None, or what refutes the statement; `part` if it looks at a part of the domain.
Statement = collections.namedtuple("Statement", "what domain check part", defaults=[False])


class Source:
    """The sources that are looked at, and the modules compiled of them."""

    def __init__(self, folder, everything=False):
        self.folder, self.everything = pathlib.Path(folder), everything
        self.module = functools.cache(self.module)

    def module(self, path, target=X86, *options):
        """Compiled when it is first asked for."""
        includes = [f"-I{self.folder / name}" for name in ("src", "include")]
        return functools.cache(lambda: compiled(self.folder / path, target, *includes, *options))


def equal(module, name, operands, definition, assumptions=()):
    """Whether the function's result is the definition's, and its behaviour defined."""
    return computes(module, name, operands, lambda n: {"result": [definition(n)]}, assumptions)


def computes(module, name, arguments, definition, assumptions=()):
    """The same of a function that also takes arrays, which are lists of their elements. The
    definition gives the elements that are left in an array, by the argument's number."""
    numbers = Integers(*assumptions)
    if any(map(z3.is_fp, arguments)):
        numbers.logic = "QF_FPBV"
    arrays = {i: dict(enumerate(byte for x in array for byte in bytes_of(Value(x, False))))
              for i, array in enumerate(arguments) if isinstance(array, list)}
    values = [Value((i, 0) if i in arrays else x, False) for i, x in enumerate(arguments)]
    want = definition(numbers)
    for path in Execution(module, numbers).paths(name, values, arrays):
        claims = [z3.Not(z3.Or(*path.undefined))] if path.undefined else []
        for i, elements in want.items():
            found = [path.result]
            if i in arrays:
                bits = arguments[i][0].size()
                data = list(path.memory[i].values())
                found = [from_bytes(bits, data[k * bits // 8:][:bits // 8])
                         for k in range(len(elements))]
            for x, exact in zip(found, elements):
                bits = x.term.size()
                claims += [z3.And(x.poison is False or z3.Not(x.poison),
                                  x.term == z3.Extract(bits - 1, 0, exact)), low(exact, bits) == exact]
        for claim in claims:
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
