# SPDX-License-Identifier: Apache-2.0
"""Faults: what the rules make of a file, how a seed chooses among them, and lists of them.

In the lists an entry is a heading and lines that begin with `- ` for the old text, `+ ` for the new
one and `= ` for the reason why no input can show it. The heading is `path [rule]`, with the number
of places before it that have the same lines, if any; or `path [hand] what is wrong then`, for a
fault that no rule makes. Lines that begin with # do not count.
"""

import collections
import hashlib
import math
import re
import sys

from mutation.code import Code, collapse
from mutation.rules import RULES

ENTRY = re.compile(r"""(?P<path>\S+)[ ]\[(?P<rule>\w+)\][ ]?(?P<what>.*)\n
                       (?P<old>(?:-.*\n)+) (?P<new>(?:\+.*\n)*) (?:=.*\n)* \n*""", re.VERBOSE)


class Fault:
    """A change of one place: of a file at characters start to end."""

    def __init__(self, path, rule, code, start, end, new):
        self.path, self.rule, self.start, self.end, self.new = path, rule, start, end, new
        bare = code.bare + "\n"
        first, last = bare.rfind("\n", 0, start) + 1, bare.index("\n", end)
        self.line = bare.count("\n", 0, start) + 1
        self.before = collapse(bare[first:last])
        self.after = collapse(bare[first:start] + new + bare[end:last])
        self.earlier = 0  # places before it with the same lines and the same change

    def key(self):
        """What the fault is, wherever it stands."""
        return self.path, self.rule, self.before, self.after, self.earlier

    def applied_to(self, text):
        return text[:self.start] + self.new + text[self.end:]

    def rank(self, seed):
        """What the faults are ordered by: a draw without replacement by weight (Efraimidis and
        Spirakis 2006), each fault's chance drawn from what it is and not from where it stands."""
        identity = "\0".join(map(str, (seed, *self.key())))
        digest = hashlib.sha256(identity.encode()).digest()
        uniform = (int.from_bytes(digest[:8], "big") + 1) / (2**64 + 1)
        return -math.log(uniform) / RULES[self.rule].weight

    def __str__(self):
        return f"{self.path}:{self.line} [{self.rule}] {self.before}  ->  {self.after}"


def faults_of(path, text):
    """All faults that the rules make of a file, in the order of their places."""
    code = Code(text)
    found, places = {}, collections.Counter()
    for i in range(len(code.tokens)):
        for name, rule in RULES.items() if i not in code.fixed else ():
            for first, last, new in rule.changes(code, i):
                fault = Fault(path, name, code, *code.span(first, last), new)
                if fault.before != fault.after:
                    found.setdefault((fault.start, fault.end, new), fault)
    for fault in found.values():
        fault.earlier = places[same := fault.key()]
        places[same] += 1
    return list(found.values())


class Entry:
    """Of a list."""

    def __init__(self, match):
        self.path, self.rule, self.what = match["path"], match["rule"], match["what"]
        self.old, self.new = (re.sub("^. ?", "", match[part], flags=re.MULTILINE)[:-1]
                              for part in ("old", "new"))

    def __str__(self):
        return f"{self.path} [{self.rule}] {self.what} {collapse(self.old)}"

    def key(self):
        """What Fault.key() is for the same fault."""
        return self.path, self.rule, collapse(self.old), collapse(self.new), int(self.what or 0)

    def fault(self, root):
        """The fault made by hand; None if the old text is not in its file exactly once."""
        file = root / self.path
        text = file.read_text(encoding="utf-8") if file.is_file() else ""
        if text.count(self.old) != 1:
            return None
        start = text.index(self.old)
        fault = Fault(self.path, self.rule, Code(text), start, start + len(self.old), self.new)
        fault.before, fault.after = collapse(self.old), f"({self.what})"
        return fault


def listed(file):
    text = re.sub(r"^#.*\n", "", file.read_text(encoding="utf-8"), flags=re.MULTILINE).lstrip("\n")
    if rest := ENTRY.sub("", text):
        sys.exit(f"{file}: neither a fault nor a part of one: {rest.splitlines()[0]}")
    return [Entry(match) for match in ENTRY.finditer(text)]
