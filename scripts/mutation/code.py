# SPDX-License-Identifier: Apache-2.0
"""A C++ source as tokens with its brackets matched: what the rules look at.

Comments, strings, preprocessor lines, attributes, static assertions and type aliases stay as they
are. The sources are formatted by clang-format, and what it does tells two readings of a sign apart:
a binary operator stands between spaces, and neither a template's bracket nor a pointer's sign does.
"""

import collections
import itertools
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
KEYWORDS = ("if", "for", "while", "switch", "sizeof", "return", "do")
TABLE = 4  # numbers in an initialiser make it one

Token = collections.namedtuple("Token", "kind text start end")


class Code:
    """Tokens are named by their indices. `around` has the brackets that a token is in, innermost
    first."""

    def __init__(self, text):
        self.text = self.bare = text  # bare: without comments, characters in their places
        self.tokens, self.around, self._partner = [], [], {}
        brackets = ()
        for match in TOKEN.finditer(text):
            kind, (start, end) = match.lastgroup, match.span()
            if kind == "comment":
                blank = re.sub(r"[^\n]", " ", match[0])
                self.bare = self.bare[:start] + blank + self.bare[end:]
            if kind in ("space", "comment", "line"):
                continue
            i = len(self.tokens)
            if match[0] in ")]}" and brackets:
                opening, *brackets = brackets
                self._partner[opening], self._partner[i] = i, opening
            self.tokens.append(Token(kind, match[0], start, end))
            self.around.append(brackets)
            if match[0] in "([{":
                brackets = (i, *brackets)
        self.fixed = {j for i in range(len(self.tokens)) for j in self._fixed_from(i)}

    def _fixed_from(self, i):
        last = i - 1
        if self.at(i) in ("static_assert", "__attribute__"):
            last = self.partner(i + 1)
        elif self.at(i) == self.at(i + 1) == "[":
            last = self.partner(i)
        elif self.at(i) in ("using", "typedef", "namespace"):
            last = next(j for j in range(i, len(self.tokens)) if self.at(j) in (";", "{"))
        return range(i, last + 1)

    def at(self, i):
        return self.tokens[i].text if 0 <= i < len(self.tokens) else ""

    def kind(self, i):
        return self.tokens[i].kind if 0 <= i < len(self.tokens) else ""

    def partner(self, i):
        """From a bracket to the other one of its pair, from anything else to itself."""
        return self._partner.get(i, i)

    def span(self, first, last=None):
        """The characters from a token to another, both included."""
        return self.tokens[first].start, self.tokens[first if last is None else last].end

    def source(self, first, last):
        return self.text[slice(*self.span(first, last))]

    def spaced(self, i):
        start, end = self.span(i)
        return self.text[start - 1].isspace() and self.text[end].isspace()

    def outer(self, i):
        """The bracket that a token is directly in, or None."""
        return next(iter(self.around[i]), None)

    def in_loop_head(self, i):
        return any(self.at(j - 1) == "for" for j in self.around[i])

    def in_table(self, i):
        """Whether a token is in the initialiser of a table."""
        braces = itertools.takewhile(lambda j: self.at(j) == "{", self.around[i])
        first = min((j for j in braces if self.at(j - 1) in ("=", "{", ",")), default=i)
        return sum(self.kind(j) == "number" for j in range(first, self.partner(first))) >= TABLE

    def arguments(self, opening):
        """First and last tokens of the arguments in a pair of brackets."""
        closing = self.partner(opening)
        commas = [j for j in range(opening + 1, closing)
                  if self.at(j) == "," and self.outer(j) == opening]
        edges = [opening, *commas, closing]
        return [(a + 1, b - 1) for a, b in zip(edges, edges[1:]) if a + 1 < b]

    def is_name(self, i):
        return self.kind(i) == "word" and self.at(i) not in KEYWORDS

    def is_call(self, i):
        """Whether a name is that of a function that is called, not declared."""
        if not self.is_name(i) or self.at(i + 1) != "(":
            return False
        while self.at(i - 1) == "::":
            i -= 2
        declared = self.kind(i - 1) == "word" and self.at(i - 1) not in ("return", "else")
        pointer = self.at(i - 1) in ("*", "&", ">") and not self.text[
            self.tokens[i - 1].start - 1].isspace()
        return not declared and not pointer

    def is_binary(self, i):
        return self.spaced(i) and (self.kind(i - 1) in ("word", "number", "letter")
                                   or self.at(i - 1) in (")", "]", "}"))


def collapse(text):
    return " ".join(text.split())
