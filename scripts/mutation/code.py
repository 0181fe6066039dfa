# SPDX-License-Identifier: Apache-2.0
"""A C++ source as tokens with its brackets matched: what the rules look at.

Comments, strings, preprocessor lines, attributes, static assertions and type aliases stay as they
are. The sources are formatted by clang-format, and what it does tells two readings of a sign apart:
a binary operator stands between spaces, and neither a template's bracket nor a pointer's sign does.
"""

import re

TOKEN = re.compile(r"""
    (?P<space>   \s+ )
  | (?P<comment> //[^\n]* | /\*.*?\*/ )
  | (?P<line>    \#(?: \\\n | [^\n] )* )
  | (?P<string>  R"\(.*?\)" | "(?: \\. | [^"\\\n] )*" )
  | (?P<number>  \.?\d(?: [eEpP][+-] | '\w | [\w.] )* )
  | (?P<letter>  '(?: \\. | [^'\\\n] )+' )
  | (?P<word>    [A-Za-z_]\w* )
  | (?P<sign>    <<= | >>= | -> | \+\+ | -- | && | \|\| | [-+*/%&|^!=<>]= | << | >> | :: | . )
""", re.VERBOSE | re.DOTALL)
OPENING = {"(": ")", "[": "]", "{": "}"}
TABLE = 4  # numbers in an initialiser make it one


class Token:
    def __init__(self, match):
        self.kind, self.text = match.lastgroup, match[0]
        self.start, self.end = match.span()


class Code:
    """Tokens are named by their indices. `partner` leads from a bracket to the other one of its
    pair, `outer` from a token to the bracket that it is directly in, or to None."""

    def __init__(self, text):
        self.text = text
        bare = list(text)
        self.tokens = []
        for match in TOKEN.finditer(text):
            if match.lastgroup == "comment":
                bare[match.start():match.end()] = re.sub(r"[^\n]", " ", match[0])
            elif match.lastgroup not in ("space", "line"):
                self.tokens.append(Token(match))
        self.bare = "".join(bare)  # without comments, characters in their places
        self.partner, self.outer = {}, []
        self._match_brackets()
        self.fixed = set()
        self._find_fixed()

    def _match_brackets(self):
        stack = []
        for i, token in enumerate(self.tokens):
            if token.text in OPENING.values() and stack:
                start = stack.pop()
                self.partner[start], self.partner[i] = i, start
            self.outer.append(stack[-1] if stack else None)
            if token.text in OPENING:
                stack.append(i)

    def _find_fixed(self):
        for i, token in enumerate(self.tokens):
            if token.text in ("static_assert", "__attribute__"):
                self._fix(i, self.partner.get(i + 1, i))
            elif token.text == "[" and self.at(i + 1) == "[":
                self._fix(i, self.partner.get(i, i))
            elif token.text in ("using", "typedef", "namespace"):
                self._fix(i, next((j for j in range(i, len(self.tokens))
                                   if self.at(j) in (";", "{")), i))

    def _fix(self, first, last):
        self.fixed.update(range(first, last + 1))

    def at(self, i):
        """The text of a token, empty beyond the ends."""
        return self.tokens[i].text if 0 <= i < len(self.tokens) else ""

    def kind(self, i):
        return self.tokens[i].kind if 0 <= i < len(self.tokens) else ""

    def source(self, first, last):
        """The text from a token to another, both included."""
        return self.text[self.tokens[first].start:self.tokens[last].end]

    def spaced(self, i):
        token = self.tokens[i]
        return self.text[token.start - 1].isspace() and self.text[token.end:token.end + 1].isspace()

    def touches_previous(self, i):
        return i > 0 and self.tokens[i - 1].end == self.tokens[i].start

    def around(self, i):
        """The open brackets that a token is in, innermost first."""
        while (i := self.outer[i]) is not None:
            yield i

    def in_loop_head(self, i):
        return any(self.at(j - 1) == "for" for j in self.around(i))

    def table_of(self, i):
        """Whether a token is in the initialiser of a table."""
        first = None
        for j in self.around(i):
            if self.at(j) != "{":
                break
            if self.at(j - 1) in ("=", "{", ","):
                first = j
        if first is None:
            return False
        inside = range(first, self.partner.get(first, first))
        return sum(self.kind(j) == "number" for j in inside) >= TABLE

    def arguments(self, opening):
        """First and last tokens of the arguments in a pair of brackets."""
        closing = self.partner.get(opening, opening)
        commas = [j for j in range(opening + 1, closing)
                  if self.at(j) == "," and self.outer[j] == opening]
        edges = [opening, *commas, closing]
        return [(a + 1, b - 1) for a, b in zip(edges, edges[1:]) if a + 1 < b]

    def is_call(self, i):
        """Whether a name is that of a function that is called, not declared."""
        if self.kind(i) != "word" or self.at(i + 1) != "(":
            return False
        while self.at(i - 1) == "::":
            i -= 2
        declared = self.kind(i - 1) == "word" and self.at(i - 1) not in ("return", "else")
        pointer = self.at(i - 1) in ("*", "&", ">") and self.touches_previous(i - 1)
        return not declared and not pointer

    def is_binary(self, i):
        return self.spaced(i) and (self.kind(i - 1) in ("word", "number", "letter")
                                   or self.at(i - 1) in (")", "]", "}"))


def collapse(text):
    return " ".join(text.split())
