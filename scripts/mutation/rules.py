# SPDX-License-Identifier: Apache-2.0
"""The rules by which faults are made. Each looks at one token and gives the changes to make there,
as (first token, last token, text instead)."""

import collections
import re


def both_ways(text):
    names = text.split()
    return dict([*zip(names[::2], names[1::2]), *zip(names[1::2], names[::2])])


COMPARISONS = both_ways("< <= > >= == !=")
OPERATORS = {**both_ways("+ - & | && || += -= &= |= <<= >>="), "*": "+", "/": "*", "%": "*",
             "^": "|", "*=": "+=", "/=": "*=", "^=": "|="}
CONVERSIONS = {
    "Word16": "Word32", "Word32": "Word16 std::int64_t", "std::int64_t": "Word32",
    "std::uint32_t": "std::uint16_t Word32", "std::uint64_t": "std::uint32_t",
    "std::int16_t": "std::int32_t", "std::int32_t": "std::int16_t std::int64_t",
    "float": "double", "double": "float"}
EXCHANGED = {**both_ways("min max add sub lAdd lSub lMac lMsu shl shr lShl lShr mult multRound "
                         "extractHigh extractLow"),
             "roundHigh": "extractHigh", "lShrRound": "lShr"}
COMMUTATIVE = ("add", "lAdd", "mult", "multRound", "lMult", "lMult32", "lMpyLl", "min", "max")
LOGIC = ("&&", "||")
BY_ONE = (" + 1", " - 1")
OPERAND_ENDS = (*LOGIC, ")", "]", "}", ";", ",", "?", ":", "")
CONDITION_STARTS = ("(", "[", "{", ";", ",", "?", ":", "=", "return", "")
# A saturating function as the plain operation, of its arguments.
PLAIN = {
    "saturate16": "Word16({0})", "saturate32": "Word32({0})",
    "add": "Word16(({0}) + ({1}))", "sub": "Word16(({0}) - ({1}))", "negate": "Word16(-({0}))",
    "absolute": "Word16(({0}) < 0 ? -({0}) : ({0}))",
    "mult": "Word16((({0}) * ({1})) >> 15)", "multRound": "Word16((({0}) * ({1}) + 16384) >> 15)",
    "shl": "Word16(({0}) << ({1}))", "lShl": "Word32(({0}) << ({1}))",
    "lAdd": "Word32(std::uint32_t({0}) + std::uint32_t({1}))",
    "lSub": "Word32(std::uint32_t({0}) - std::uint32_t({1}))",
    "lNegate": "Word32(0U - std::uint32_t({0}))", "lMult": "Word32(({0}) * ({1}) * 2U)",
    "lMac": "Word32(std::uint32_t({0}) + ({1}) * ({2}) * 2U)",
    "lMsu": "Word32(std::uint32_t({0}) - ({1}) * ({2}) * 2U)",
    "min": "({0})", "max": "({0})", "clamp": "({0})"}


def changed_number(text, negative=True):
    """A number plus and minus one, doubled and negated; a float in its last digit."""
    whole = re.fullmatch(r"(0[xX][\da-fA-F']+|\d[\d']*)([uUlL]*)", text)
    mantissa = re.fullmatch(r"([\d']*\.?[\d']*?)(\d)(\.?)((?:[eE][+-]?\d+)?[fFlL]?)", text)
    if whole:
        value, suffix = int(whole[1].replace("'", ""), 0), whole[2]
        write = "0x{:X}" if text[:2] in ("0x", "0X") else "{}"
        results = [value + 1, value - 1] + [2 * value] * (value > 1)
        results = [write.format(v) + suffix if v >= 0 else f"({v})" for v in results]
        negative = negative and value > 0 and not suffix
    elif mantissa:
        before, digit, point, exponent = mantissa.groups()
        results = [f"{before}{(int(digit) + 1) % 10}{point}{exponent}", f"(2 * {text})"]
        negative = negative and float(before + digit) != 0
    else:
        return []
    return results + [f"(-{text})"] * negative


def last_before(code, i, step, ends):
    """The last token on the way from one, forwards or backwards, before one of `ends`. The way
    leads over whole pairs of brackets."""
    while code.at(i + step) not in ends:
        i = code.partner(i + step)
    return i


def is_declared_size(code, i):
    return code.at(i - 1) == "[" and (code.kind(i - 3) == "word" or code.at(i - 3) in (">", "*"))


def constant(code, i):
    if code.at(i) in ("true", "false") and code.at(i - 1) != "(":
        yield i, i, "false" if code.at(i) == "true" else "true"
    if (code.kind(i) != "number" or code.at(i - 1) in ("<<", ">>") or code.in_loop_head(i)
            or code.in_table(i)):
        return
    results = changed_number(code.at(i), negative=code.at(i - 1) != "-")
    if is_declared_size(code, i):
        results = results[1:2]  # more memory than needed shows nowhere
    yield from ((i, i, result) for result in results)


def table(code, i):
    if code.kind(i) == "number" and code.in_table(i):
        yield from ((i, i, result) for result in changed_number(code.at(i), negative=False)[:2])


def shift(code, i):
    if code.at(i) not in ("<<", ">>") or not code.is_binary(i):
        return
    yield i, i, ">>" if code.at(i) == "<<" else "<<"
    count = i + 1
    if code.kind(count) == "number":
        yield from ((count, count, result)
                    for result in changed_number(code.at(count), negative=False)[:2])
    elif code.at(count) == "(" or code.at(i + 2) not in ("(", "[", "{", ".", "->", "::", "<"):
        last = code.partner(count)
        yield from ((last, last, code.at(last) + step) for step in BY_ONE)


def comparison(code, i):
    if code.at(i) in COMPARISONS and code.is_binary(i) and not code.in_loop_head(i):
        yield i, i, COMPARISONS[code.at(i)]


def operator(code, i):
    text = code.at(i)
    if code.in_loop_head(i):
        return
    if text in OPERATORS and code.is_binary(i):
        yield i, i, OPERATORS[text]
    elif text in ("++", "--"):
        yield i, i, "--" if text == "++" else "++"
    elif text in ("-", "!", "~") and code.kind(i + 1) != "number" and not code.spaced(i):
        yield i, i, ""


def loop(code, i):
    """The bounds of a for loop and its step."""
    semicolons = [j for j in range(i + 2, code.partner(i + 1))
                  if code.at(j) == ";" and code.outer(j) == i + 1]
    if code.at(i) != "for" or len(semicolons) != 2:
        return
    first, second = semicolons
    for start, end, signs in ((i + 2, first, "="), (first, second, COMPARISONS)):
        if any(code.at(j) in signs for j in range(start, end)):
            yield from ((end - 1, end - 1, code.at(end - 1) + step) for step in BY_ONE)
    if code.at(second + 1) == "++" and code.at(second + 3) == ")":
        yield second + 1, second + 2, f"{code.at(second + 2)} += 2"


def branch(code, i):
    if code.at(i) in ("if", "while"):
        opening = i + 2 if code.at(i + 1) == "constexpr" else i + 1
        values = ("(true)", "(false)") if code.at(i) == "if" else ("(false)",)
        if code.at(opening) == "(":
            yield from ((opening, code.partner(opening), value) for value in values)
    if code.at(i) == "?":
        first = last_before(code, i, -1, CONDITION_STARTS)
        if first < i:
            yield from ((first, i - 1, value) for value in ("true", "false"))


def condition(code, i):
    """A condition of several without one of them."""
    if code.at(i) in LOGIC and code.is_binary(i):
        yield i, last_before(code, i, 1, OPERAND_ENDS), ""
        first = last_before(code, i, -1, (*LOGIC, *CONDITION_STARTS))
        if code.at(first - 1) not in LOGIC:
            yield first, i, ""


def conversion(code, i):
    if code.at(i) == "static_cast":
        first, last = i + 2, next((j for j in range(i, i + 8) if code.at(j) == ">"), i) - 1
    elif code.kind(i) == "word" and code.at(i + 1) == "{" and code.outer(i) is not None:
        first, last = i - 2 if code.at(i - 1) == "::" else i, i
    else:
        return
    yield from ((first, last, other)
                for other in CONVERSIONS.get(code.source(first, last), "").split())


def call(code, i):
    """Another function of the same form, or two arguments in each other's places."""
    if not code.is_call(i):
        return
    if code.at(i) in EXCHANGED:
        yield i, i, EXCHANGED[code.at(i)]
    if code.at(i) not in COMMUTATIVE:
        arguments = code.arguments(i + 1)
        for one, other in zip(arguments, arguments[1:]):
            yield one[0], other[1], f"{code.source(*other)}, {code.source(*one)}"


def saturation(code, i):
    """A saturating operation without its saturation, a limited value without its limit."""
    if (code.is_call(i) and code.at(i) in PLAIN
            and (code.at(i - 1) != "::" or code.at(i - 2) in ("std", "arvessa"))):
        arguments = [code.source(*argument) for argument in code.arguments(i + 1)]
        if f"{{{len(arguments)}}}" not in PLAIN[code.at(i)]:
            first = i - 2 if code.at(i - 1) == "::" else i
            yield first, code.partner(i + 1), PLAIN[code.at(i)].format(*arguments)


def index(code, i):
    """The element next to the one that a variable names."""
    if (code.at(i - 1) == "[" and code.at(i + 1) == "]" and code.kind(i) == "word"
            and not is_declared_size(code, i)):
        yield i, i, f"{code.at(i)} + 1"


def statement(code, i):
    """A statement left out: an assignment, a call, a step."""
    before, bracket = code.at(i - 1), code.outer(i)
    begins = before in (";", "{", "}", "else") or (
        before == ")" and code.at(code.partner(i - 1) - 1) in ("if", "for", "while", "constexpr"))
    if (not begins or bracket is None or code.at(bracket) != "{"
            or code.at(bracket - 1) in ("=", ",")):
        return
    name = i
    while code.at(name) in ("*", "++", "--", "("):
        name += 1
    prefixed = name > i
    while code.at(name + 1) == "::":
        name += 2
    follows = code.at(name + 1)
    acts = prefixed or follows in ("(", "[", ".", "->", "=", "++", "--") or (
        follows in OPERATORS and follows.endswith("="))
    last = last_before(code, i - 1, 1, (";", "{", "}", ""))
    if acts and code.is_name(name) and code.at(last + 1) == ";":
        yield i, last, ""


# Weights: how often a fault of each is taken. Tables have thousands of places, constants too.
Rule = collections.namedtuple("Rule", "changes weight")
RULES = {changes.__name__: Rule(changes, weight) for changes, weight in (
    (constant, 0.4), (table, 0.03), (shift, 1), (comparison, 1), (operator, 1), (loop, 1),
    (branch, 0.7), (condition, 1), (conversion, 0.5), (call, 0.7), (saturation, 1), (index, 0.5),
    (statement, 1))}
