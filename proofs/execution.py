# SPDX-License-Identifier: Apache-2.0
"""Executes a function symbolically, path by path.

A value is (term, poison): an integer of w bits is a bit vector, a vector or struct a list of values,
a pointer (object, offset). Memory is bytes. What the language leaves undefined (poison that is
returned, stored, branched on or divided by, and memory outside of an object) is collected, and has
to be unreachable; an undef counts as poison.
"""

import collections

import z3
from z3 import (BitVecVal, Concat, Extract, FPVal, If, LShR, Not, Or, SignExt, ULT, ZeroExt,
                is_bv_value, is_false, is_true, simplify)

import intrinsics
from ir import Tokens

Value = collections.namedtuple("Value", "term poison")
Path = collections.namedtuple("Path", "conditions undefined result memory next")
FLAGS = ("nsw", "nuw", "exact", "inbounds", "volatile", "arcp", "nnan", "fast")
DOUBLE = z3.Float64()


def either(*conditions):
    """One of conditions that may be False, simplified."""
    conditions = [c for c in map(simplify, (c for c in conditions if c is not False))
                  if not is_false(c)]
    return False if not conditions else conditions[0] if len(conditions) == 1 else Or(*conditions)


def truth(condition):
    return If(condition, BitVecVal(1, 1), BitVecVal(0, 1))


def each(operation, *operands):
    """Of every element, if the operands are vectors."""
    if isinstance(operands[0], list):
        return [each(operation, *elements) for elements in zip(*operands)]
    term, *poisons = operation(*(o.term for o in operands))
    return Value(simplify(term), either(*(o.poison for o in operands), *poisons))


def shifted(name, x, count):
    """By a constant: the parts of a word come out as extracts."""
    if count == 0:
        return x
    if name == "shl":
        return Concat(Extract(x.size() - 1 - count, 0, x), BitVecVal(0, count))
    return (SignExt if name == "ashr" else ZeroExt)(count, Extract(x.size() - 1, count, x))


def size_of(kind):
    if isinstance(kind, int):
        return (kind + 7) // 8
    if kind[0] == "struct":
        return offset_of(kind, len(kind[1]))
    return 8 if kind[0] == "pointer" else kind[1] * size_of(kind[2])


def offset_of(kind, index):
    """Of a member, every one at a multiple of 8: no address is taken but by its index."""
    return sum((size_of(member) + 7) // 8 * 8 for member in kind[1][:index])


def bytes_of(value):
    if isinstance(value, list):
        return [byte for element in value for byte in bytes_of(element)]
    term, poison = value
    if not z3.is_bv(term):
        return [Value((term, i), poison) for i in range(8)]  # of a pointer
    return [Value(simplify(Extract(i + 7, i, term)), poison) for i in range(0, term.size(), 8)]


def from_bytes(kind, data):
    if not isinstance(kind, int) and kind[0] in ("vector", "array"):
        size = size_of(kind[2])
        return [from_bytes(kind[2], data[i * size:][:size]) for i in range(kind[1])]
    if not isinstance(kind, int):
        return Value(data[0].term[0], data[0].poison)
    terms = [byte.term for byte in reversed(data)]
    term = simplify(Concat(*terms)) if len(terms) > 1 else terms[0]
    poisons = {id(byte.poison): byte.poison for byte in data}
    return Value(term if term.size() == kind else Extract(kind - 1, 0, term),
                 either(*poisons.values()))


class Execution:
    """Of a function of a module with the numbers of a statement (integers.Integers)."""

    def __init__(self, functions, numbers):
        self.functions, self.numbers, self.anything = functions, numbers, 0

    def paths(self, name, arguments, memory=None, start=None, values=(), back=None):
        """All paths from the function's or another block's beginning to its end, or to where the
        block `back` is entered from."""
        function = self.functions[name]
        env = {**dict(zip(function.parameters, arguments)), **dict(values)}
        memory = {key: dict(data) for key, data in (memory or {}).items()}
        todo = [(start or function.entry, None, env, memory, [], [])]
        while todo:
            label, previous, env, memory, conditions, undefined = todo.pop()
            if label == back and previous is not None:
                yield Path(conditions, undefined, None, memory, (previous, env))
                continue
            self.memory, self.undefined = memory, undefined
            # In a block where the execution starts, the phis have values already.
            phis = {} if previous is None else {
                i.result: self.phi(i, previous, env) for i in function.blocks[label]
                if i.name == "phi"}
            env.update(phis)
            for i in function.blocks[label]:
                if i.name == "ret":
                    result = None if i.rest == "void" else self.operand(Tokens(i.rest), env)
                    self.defined(result)
                    yield Path(conditions, undefined, result, memory, None)
                elif i.name in ("br", "switch"):
                    ways = self.targets(i, env)
                    for target, condition in ways:
                        if len(ways) > 1 and not self.numbers.possible(conditions + condition):
                            continue
                        todo.append((target, label, dict(env),
                                     {key: dict(data) for key, data in memory.items()},
                                     conditions + condition, list(undefined)))
                elif i.name == "unreachable":
                    yield Path(conditions, [*undefined, True], None, memory, None)
                elif i.name != "phi":
                    env[i.result] = self.execute(i, env)

    def phi(self, i, previous, env):
        t = Tokens(i.rest)
        kind = t.type()
        while t.take("["):
            operand = t.operand()
            t.take(",")
            if t.take() == "%" + previous:
                return self.value(kind, operand, env)
            t.take("]")
            t.take(",")

    def targets(self, i, env):
        t = Tokens(i.rest)
        kind, operand = t.typed()
        if kind == "label":
            return [(operand[1:], [])]
        on = self.value(kind, operand, env)
        self.defined(on)
        t.take(",")
        if i.name == "br":
            t.take("label")
            first = t.take()[1:]
            t.take(",")
            cases = [("1", first)]
            other = t.typed()[1][1:]
        else:
            other = t.typed()[1][1:]
            t.take("[")
            cases = []
            while t.peek() != "]":
                _, number = t.typed()
                t.take(",")
                cases.append((number, t.typed()[1][1:]))
        found, none = [], []
        for number, target in cases:
            equal = simplify(on.term == BitVecVal(int(number), kind))
            if is_true(equal):
                return [(target, none)]
            if not is_false(equal):
                found.append((target, [*none, equal]))
                none = [*none, Not(equal)]
        return [*found, (other, none)]

    def defined(self, value):
        for one in value if isinstance(value, list) else [value]:
            if one is not None and one.poison is not False:
                self.undefined.append(one.poison)

    def operand(self, t, env):
        return self.value(*t.typed(), env)

    def value(self, kind, word, env):
        if isinstance(word, list):
            return [self.value(*element, env) for element in word]
        if word in env:
            return env[word]
        if not isinstance(kind, int) and kind[0] in ("vector", "array"):
            return [self.value(kind[2], word, env) for _ in range(kind[1])]
        if kind == "double":
            if word.startswith("0x"):
                return Value(z3.fpBVToFP(BitVecVal(int(word, 16), 64), DOUBLE), False)
            return Value(FPVal(float(word), DOUBLE), False)
        if word[0] == "@":
            return Value((word, 0), False)
        if not isinstance(kind, int) and kind[0] == "struct":
            return [self.value(of, word, env) for of in kind[1]]
        if word in ("undef", "poison"):
            return Value(BitVecVal(0, kind), z3.BoolVal(True))
        words = {"true": 1, "false": 0, "zeroinitializer": 0, "null": 0}
        return Value(BitVecVal(words[word] if word in words else int(word), kind), False)

    def execute(self, i, env):
        t = Tokens(i.rest)
        flags = t.skip(*FLAGS)
        if method := getattr(self, "do_" + i.name, None):
            return method(t, env, flags)
        if i.name in ("zext", "sext", "trunc"):
            value = self.operand(t, env)
            t.take("to")
            kind = t.type()
            width = kind if isinstance(kind, int) else kind[2]
            extend = {"zext": ZeroExt, "sext": SignExt}.get(i.name)
            return each(lambda x: (extend(width - x.size(), x) if extend
                                   else Extract(width - 1, 0, x),), value)
        if i.name in ("icmp", "fcmp"):
            predicate = t.take()
            kind, word = t.typed()
            t.take(",")
            x, y = self.value(kind, word, env), self.value(kind, t.operand(), env)
            if not isinstance(kind, int) and kind[0] == "pointer":
                (a, i), (b, j) = x.term, y.term
                assert a == b, "pointers into two objects"
                x, y = (Value(BitVecVal(n, 64), False) for n in (i, j))
            return each(lambda a, b: (truth(intrinsics.COMPARISONS[predicate](a, b)),), x, y)
        kind, word = t.typed()
        t.take(",")
        x, y = self.value(kind, word, env), self.value(kind, t.operand(), env)
        if i.name in ("udiv", "sdiv"):
            self.defined(y)
            return each(lambda a, b: self.quotient(a, b, i.name == "sdiv"), x, y)
        return each(lambda a, b: self.arithmetic(i.name, flags, a, b), x, y)

    def arithmetic(self, name, flags, a, b):
        """The result, and where it is poison."""
        w = a.size()
        if name in ("and", "or", "xor"):
            return ({"and": a & b, "or": a | b, "xor": a ^ b}[name],)
        if name in ("shl", "lshr", "ashr"):
            r = shifted(name, a, b.as_long()) if is_bv_value(b) and b.as_long() < w else {
                "shl": a << b, "lshr": LShR(a, b), "ashr": a >> b}[name]
            lost = {"nsw": (r >> b) != a, "nuw": LShR(r, b) != a, "exact": (r << b) != a}
            return r, Not(ULT(b, w)), *(lost[flag] for flag in flags)
        if name == "mul":
            exact, flags = self.numbers.times(a, b), flags and {"nsw"}  # nuw: of positive operands
        else:
            extend = SignExt if "nsw" in flags else ZeroExt
            exact = extend(2, a) + extend(2, b) if name == "add" else extend(2, a) - extend(2, b)
        r = simplify(Extract(w - 1, 0, exact))
        extend = SignExt if "nsw" in flags else ZeroExt
        return (r, exact != extend(exact.size() - w, r)) if flags else (r,)

    def quotient(self, a, b, signed):
        if signed:  # of operands without signs, as it is here
            self.undefined += [a < 0, b < 0]
        self.undefined.append(b == 0)
        widened = (simplify(ZeroExt(64 - x.size(), x)) for x in (a, b))
        return (Extract(a.size() - 1, 0, self.numbers.divided(*widened)),)

    def do_select(self, t, env, _):
        condition = self.operand(t, env)
        t.take(",")
        x = self.operand(t, env)
        t.take(",")
        y = self.operand(t, env)
        if isinstance(x, list) and not isinstance(condition, list):
            condition = [condition] * len(x)

        def chosen(c, a, b):
            if isinstance(c, list):
                return [chosen(*three) for three in zip(c, a, b)]
            test = simplify(c.term == 1)
            if is_true(test) or is_false(test):
                term, poison = a if is_true(test) else b
                return Value(term, either(c.poison, poison))
            p, q = (z3.BoolVal(False) if v.poison is False else v.poison for v in (a, b))
            poison = simplify(If(test, p, q))
            return Value(simplify(If(test, a.term, b.term)),
                         either(c.poison, False if is_false(poison) else poison))

        return chosen(condition, x, y)

    def do_freeze(self, t, env, _):
        return self.frozen(self.operand(t, env))

    def frozen(self, value):
        if isinstance(value, list):
            return [self.frozen(one) for one in value]
        if value.poison is False:
            return value
        self.anything += 1
        fresh = z3.BitVec(f"frozen{self.anything}", value.term.size())
        return Value(If(value.poison, fresh, value.term), False)

    def do_bitcast(self, t, env, _):
        value = self.operand(t, env)
        t.take("to")
        kind = t.type()
        if not isinstance(kind, int) and kind[0] == "pointer":
            return value
        if isinstance(value, list) and value[0].term.size() == 1:  # a mask, to a number
            return Value(simplify(Concat(*(bit.term for bit in reversed(value)))),
                         either(*(bit.poison for bit in value)))
        return from_bytes(kind, bytes_of(value))

    def number(self, value):
        term = simplify(value.term)
        if not is_bv_value(term):
            raise NotImplementedError(f"an index that is no constant: {term}")
        return term.as_signed_long()

    def do_extractelement(self, t, env, _):
        vector = self.operand(t, env)
        t.take(",")
        return vector[self.number(self.operand(t, env))]

    def do_insertelement(self, t, env, _):
        vector = list(self.operand(t, env))
        t.take(",")
        element = self.operand(t, env)
        t.take(",")
        vector[self.number(self.operand(t, env))] = element
        return vector

    def do_shufflevector(self, t, env, _):
        first = self.operand(t, env)
        t.take(",")
        both = first + self.operand(t, env)
        t.take(",")
        order = self.operand(t, env)
        return [both[self.number(i)] if i.poison is False else Value(both[0].term, i.poison)
                for i in order]

    def do_extractvalue(self, t, env, _):
        value = self.operand(t, env)
        t.take(",")
        return value[int(t.take())]

    def do_insertvalue(self, t, env, _):
        value = list(self.operand(t, env))
        t.take(",")
        element = self.operand(t, env)
        t.take(",")
        value[int(t.take())] = element
        return value

    def do_getelementptr(self, t, env, _):
        kind = t.type()
        t.take(",")
        (name, offset), poison = self.operand(t, env)
        scale = size_of(kind)
        while t.peek() == ",":
            t.take()
            index = self.number(self.operand(t, env))
            if scale is None:
                offset += offset_of(kind, index)
                kind = kind[1][index]
            else:
                offset += index * scale
            scale = None
            if not isinstance(kind, int) and kind[0] in ("array", "vector"):
                kind = kind[2]
                scale = size_of(kind)
        return Value((name, offset), poison)

    def do_alloca(self, t, env, _):
        kind = t.type()
        name = f"local{len(self.memory)}"
        self.memory[name] = {i: Value(BitVecVal(0, 8), z3.BoolVal(True))
                             for i in range(size_of(kind))}
        return Value((name, 0), False)

    def do_load(self, t, env, _):
        kind = t.type()
        t.take(",")
        return self.load(kind, self.operand(t, env))

    def load(self, kind, pointer):
        name, offset = pointer.term
        return from_bytes(kind, [self.memory[name][offset + i] for i in range(size_of(kind))])

    def do_store(self, t, env, _):
        value = self.operand(t, env)
        t.take(",")
        self.store(value, self.operand(t, env))

    def store(self, value, pointer):
        name, offset = pointer.term
        for i, byte in enumerate(bytes_of(value), offset):
            if i not in self.memory[name]:
                raise IndexError(f"{name}[{i}]")
            self.memory[name][i] = byte

    def do_call(self, t, env, _):
        t.skip("fast", "nnan")
        while t.peek() in ("noundef", "signext", "zeroext", "nonnull"):
            t.take()
        result = t.type()
        name = t.take()[1:]
        t.take("(")
        if name.startswith(("llvm.lifetime", "llvm.assume", "llvm.experimental.noalias")):
            return None
        if not name.startswith("llvm."):  # another form of a kernel
            self.undefined.append(z3.BoolVal(True))
            return self.value(result, "poison", env) if result != "void" else None
        arguments = t.list(t.typed, ")")
        values = [self.value(*argument, env) for argument in arguments]
        if name.startswith("llvm.memcpy"):
            count = self.number(values[2])
            return self.store(self.load(("array", count, 8), values[1]), values[0])
        if name.startswith("llvm.memset"):
            return self.store([values[1]] * self.number(values[2]), values[0])
        if name.startswith("llvm.arm.neon.vst1"):
            return self.store(values[1], values[0])
        if name.startswith("llvm.arm.neon.vld1"):
            return self.load(result, values[0])
        return intrinsics.call(name, values, self.numbers, each)

    def do_fptosi(self, t, env, _):
        value = self.operand(t, env)
        t.take("to")
        width = t.type()
        exact = z3.fpToSBV(z3.RTZ(), value.term, z3.BitVecSort(width))
        limit = float(1 << (width - 1))
        inside = z3.And(z3.fpLT(value.term, FPVal(limit, DOUBLE)),
                        z3.fpGT(value.term, FPVal(-limit - 1, DOUBLE)))
        return Value(exact, either(value.poison, Not(inside)))
