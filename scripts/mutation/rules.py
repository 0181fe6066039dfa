# SPDX-License-Identifier: Apache-2.0
"""The rules by which faults are made. Each looks at one token and gives the changes to make there,
as (first character, character after the last one, text instead)."""

import re

COMPARISONS = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "=="}
OPERATORS = {
    "+": "-", "-": "+", "*": "+", "/": "*", "%": "*", "&": "|", "|": "&", "^": "|",
    "&&": "||", "||": "&&", "+=": "-=", "-=": "+=", "*=": "+=", "/=": "*=", "&=": "|=", "|=": "&=",
    "^=": "|=", "<<=": ">>=", ">>=": "<<="}
CONVERSIONS = {
    "Word16": ["Word32"], "Word32": ["Word16", "std::int64_t"], "std::int64_t": ["Word32"],
    "std::uint32_t": ["std::uint16_t", "Word32"], "std::uint64_t": ["std::uint32_t"],
    "std::int16_t": ["std::int32_t"], "std::int32_t": ["std::int16_t", "std::int64_t"],
    "float": ["double"], "double": ["float"]}
EXCHANGED = {
    "min": "max", "max": "min", "add": "sub", "sub": "add", "lAdd": "lSub", "lSub": "lAdd",
    "lMac": "lMsu", "lMsu": "lMac", "shl": "shr", "shr": "shl", "lShl": "lShr", "lShr": "lShl",
    "mult": "multRound", "multRound": "mult", "roundHigh": "extractHigh", "lShrRound": "lShr",
    "extractHigh": "extractLow", "extractLow": "extractHigh"}
COMMUTATIVE = ("add", "lAdd", "mult", "multRound", "lMult", "lMult32", "lMpyLl", "min", "max")
LOGIC = ("&&", "||")
OPERAND_ENDS = (*LOGIC, ")", "]", "}", ";", ",", "?", ":")
CONDITION_STARTS = ("(", "[", "{", ";", ",", "?", ":", "=", "return")
OPERAND_STARTS = (*LOGIC, *CONDITION_STARTS)
# A saturating function as the plain operation, of its arguments.
PLAIN = {
    "saturate16": "Word16({0})",
    "saturate32": "Word32({0})",
    "add": "Word16(({0}) + ({1}))",
    "sub": "Word16(({0}) - ({1}))",
    "negate": "Word16(-({0}))",
    "absolute": "Word16(({0}) < 0 ? -({0}) : ({0}))",
    "mult": "Word16((({0}) * ({1})) >> 15)",
    "multRound": "Word16((({0}) * ({1}) + 16384) >> 15)",
    "shl": "Word16(({0}) << ({1}))",
    "lAdd": "Word32(std::uint32_t({0}) + std::uint32_t({1}))",
    "lSub": "Word32(std::uint32_t({0}) - std::uint32_t({1}))",
    "lNegate": "Word32(0U - std::uint32_t({0}))",
    "lMult": "Word32(({0}) * ({1}) * 2U)",
    "lMac": "Word32(std::uint32_t({0}) + ({1}) * ({2}) * 2U)",
    "lMsu": "Word32(std::uint32_t({0}) - ({1}) * ({2}) * 2U)",
    "lShl": "Word32(({0}) << ({1}))",
    "min": "({0})", "max": "({0})", "clamp": "({0})"}


def changed_number(text, negative=True):
    """A number plus and minus one, doubled and negated; a float in its last digit."""
    whole = re.fullmatch(r"(0[xX][\da-fA-F']+|\d[\d']*)([uUlL]*)", text)
    if whole:
        value, suffix = int(whole[1].replace("'", ""), 0), whole[2]
        write = "0x{:X}" if text[:2] in ("0x", "0X") else "{}"
        results = [value + 1, value - 1] + [2 * value] * (value > 1)
        signs = [f"(-{text})"] if negative and value > 0 and not suffix else []
        return [write.format(v) + suffix if v >= 0 else f"({v})" for v in results] + signs
    part = re.fullmatch(r"([\d']*\.?[\d']*)((?:[eE][+-]?\d+)?[fFlL]?)", text)
    if not part:
        return []
    last = max(i for i, c in enumerate(part[1]) if c.isdigit())
    digit = (int(part[1][last]) + 1) % 10
    results = [f"{part[1][:last]}{digit}{part[1][last + 1:]}{part[2]}", f"(2 * {text})"]
    return results + ([f"(-{text})"] if negative and float(part[1]) != 0 else [])


def span(code, first, last=None):
    return code.tokens[first].start, code.tokens[first if last is None else last].end


def constant(code, i):
    if code.at(i) in ("true", "false") and not code.at(i - 1) == "(":
        yield *span(code, i), {"true": "false", "false": "true"}[code.at(i)]
    if (code.kind(i) != "number" or code.at(i - 1) in ("<<", ">>") or code.in_loop_head(i)
            or code.table_of(i)):
        return
    results = changed_number(code.at(i), negative=code.at(i - 1) != "-")
    if is_declared_size(code, i):
        results = results[1:2]  # more memory than needed shows nowhere
    for result in results:
        yield *span(code, i), result


def is_declared_size(code, i):
    return code.at(i - 1) == "[" and (code.kind(i - 3) == "word" or code.at(i - 3) in (">", "*"))


def table(code, i):
    if code.kind(i) == "number" and code.table_of(i):
        for result in changed_number(code.at(i), negative=False)[:2]:
            yield *span(code, i), result


def shift(code, i):
    if code.at(i) not in ("<<", ">>") or not code.is_binary(i):
        return
    yield *span(code, i), {"<<": ">>", ">>": "<<"}[code.at(i)]
    if code.kind(i + 1) == "number":
        for result in changed_number(code.at(i + 1), negative=False)[:2]:
            yield *span(code, i + 1), result
    elif code.at(i + 1) == "(" or code.at(i + 2) not in ("(", "[", "{", ".", "->", "::", "<"):
        end = code.tokens[code.partner.get(i + 1, i + 1)].end
        yield from ((end, end, " + 1"), (end, end, " - 1"))


def comparison(code, i):
    if code.at(i) in COMPARISONS and code.is_binary(i) and not code.in_loop_head(i):
        yield *span(code, i), COMPARISONS[code.at(i)]


def operator(code, i):
    text = code.at(i)
    if code.in_loop_head(i):
        return
    if text in OPERATORS and code.is_binary(i):
        yield *span(code, i), OPERATORS[text]
    elif text in ("++", "--"):
        yield *span(code, i), {"++": "--", "--": "++"}[text]
    elif text in ("-", "!", "~") and code.kind(i + 1) != "number" and not code.spaced(i):
        yield *span(code, i), ""


def loop(code, i):
    """The bounds of a for loop and its step."""
    if code.at(i) != "for":
        return
    semicolons = [j for j in range(i + 2, code.partner.get(i + 1, i))
                  if code.at(j) == ";" and code.outer[j] == i + 1]
    if len(semicolons) != 2:
        return
    first, second = semicolons
    places = []
    if any(code.at(j) == "=" for j in range(i + 2, first)):
        places.append(first)
    if any(code.at(j) in COMPARISONS for j in range(first, second)):
        places.append(second)
    for j in places:
        end = code.tokens[j - 1].end
        yield from ((end, end, " + 1"), (end, end, " - 1"))
    if code.at(second + 1) == "++" and code.at(second + 3) == ")":
        yield *span(code, second + 1, second + 2), f"{code.at(second + 2)} += 2"


def branch(code, i):
    if code.at(i) in ("if", "while"):
        opening = i + 2 if code.at(i + 1) == "constexpr" else i + 1
        if code.at(opening) == "(":
            start, end = span(code, opening, code.partner.get(opening, opening))
            values = ("true", "false") if code.at(i) == "if" else ("false",)
            yield from ((start, end, f"({value})") for value in values)
    if code.at(i) == "?":
        first = i - 1
        while first >= 0 and code.at(first) not in CONDITION_STARTS:
            first = code.partner.get(first, first) - 1
        if first + 1 < i:
            yield from ((*span(code, first + 1, i - 1), value) for value in ("true", "false"))


def condition(code, i):
    """A condition of several without one of them."""
    if code.at(i) not in LOGIC or not code.is_binary(i):
        return
    last = i
    while last + 1 < len(code.tokens) and code.at(last + 1) not in OPERAND_ENDS:
        last = code.partner.get(last + 1, last + 1)
    yield *span(code, i, last), ""
    first = i
    while first > 0 and code.at(first - 1) not in OPERAND_STARTS:
        first = code.partner.get(first - 1, first - 1)
    if code.at(first - 1) not in LOGIC:
        yield *span(code, first, i), ""


def conversion(code, i):
    if code.at(i) == "static_cast":
        closing = next((j for j in range(i, i + 8) if code.at(j) == ">"), i)
        first, last = i + 2, closing - 1
    elif code.kind(i) == "word" and code.at(i + 1) == "{" and code.outer[i] is not None:
        first = i - 2 if code.at(i - 1) == "::" else i
        last = i
    else:
        return
    if first <= last:
        for other in CONVERSIONS.get(code.source(first, last), []):
            yield *span(code, first, last), other


def call(code, i):
    """Another function of the same form, or two arguments in each other's places."""
    if not code.is_call(i) or code.at(i) in ("if", "for", "while", "switch", "sizeof", "return"):
        return
    if code.at(i) in EXCHANGED:
        yield *span(code, i), EXCHANGED[code.at(i)]
    if code.at(i) in COMMUTATIVE:
        return
    arguments = code.arguments(i + 1)
    for (a, b), (c, d) in zip(arguments, arguments[1:]):
        one, other = code.source(a, b), code.source(c, d)
        if one != other:
            yield *span(code, a, d), f"{other}, {one}"


def saturation(code, i):
    """A saturating operation without its saturation, a limited value without its limit."""
    if (code.is_call(i) and code.at(i) in PLAIN
            and (code.at(i - 1) != "::" or code.at(i - 2) in ("std", "arvessa"))):
        arguments = [code.source(a, b) for a, b in code.arguments(i + 1)]
        try:
            plain = PLAIN[code.at(i)].format(*arguments)
        except IndexError:
            return
        first = i - 2 if code.at(i - 1) == "::" else i
        yield *span(code, first, code.partner[i + 1]), plain


def index(code, i):
    """The element next to the one that a variable names."""
    if (code.at(i - 1) == "[" and code.at(i + 1) == "]" and code.kind(i) == "word"
            and not is_declared_size(code, i)):
        yield *span(code, i), f"{code.at(i)} + 1"


def statement(code, i):
    """A statement left out: an assignment, a call, a step."""
    before = code.at(i - 1)
    if before == ")":
        head = code.partner.get(i - 1, 0)
        if code.at(head - 1) not in ("if", "for", "while", "constexpr"):
            return
    elif before not in (";", "{", "}", "else"):
        return
    brackets = list(code.around(i))
    if not brackets or code.at(brackets[0]) != "{" or code.at(brackets[0] - 1) in ("=", ","):
        return
    j = i
    while code.at(j) in ("*", "++", "--", "("):
        j += 1
    prefixed = j > i
    while code.at(j + 1) in ("::",):
        j += 2
    if code.kind(j) != "word" or code.at(j) in ("return", "if", "for", "while", "switch", "do"):
        return
    follows = code.at(j + 1)
    if not (prefixed or follows in ("(", "[", ".", "->", "=", "++", "--") or follows in OPERATORS
            and follows.endswith("=")):
        return
    last = i
    while last < len(code.tokens) and code.at(last) != ";":
        if code.at(last) in ("}", "{"):
            return
        last = code.partner.get(last, last) + 1
    if last < len(code.tokens):
        yield *span(code, i, last), ";"


# With how often a fault of each is taken. Tables have thousands of places, constants too.
RULES = {constant: 0.4, table: 0.03, shift: 1, comparison: 1, operator: 1, loop: 1, branch: 0.7,
         condition: 1, conversion: 0.5, call: 0.7, saturation: 1, index: 0.5, statement: 1}
