# SPDX-License-Identifier: Apache-2.0
"""The two lists beside the rules: faults that no input can show, and faults made by hand.

An entry is a heading and lines that begin with `- ` for the old text, `+ ` for the new one and
`= ` for the reason why nothing can show it. The heading is `path [rule]`, with the number of places
before it that have the same lines, if any; or `path [hand] what is wrong then`. Lines that begin
with # do not count. Old text is found by its content.
"""

import re
import sys

from mutation.code import Code, collapse
from mutation.faults import Fault

ENTRY = re.compile(r"""(?P<path>\S+)[ ]\[(?P<rule>\w+)\][ ]?(?P<what>.*)\n
                       (?P<old>(?:-.*\n)+) (?P<new>(?:\+.*\n)*) (?:=.*\n)* \n*""", re.VERBOSE)


class Entry:
    def __init__(self, match):
        self.path, self.rule, self.what = match["path"], match["rule"], match["what"]
        self.old, self.new = (re.sub("^. ?", "", match[part], flags=re.MULTILINE)[:-1]
                              for part in ("old", "new"))

    def __str__(self):
        return f"{self.path} [{self.rule}] {self.what} {collapse(self.old)}"

    def key(self):
        """What Fault.key() is for the same fault."""
        return (self.path, self.rule, collapse(self.old), collapse(self.new), int(self.what or 0))

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


def read(file):
    text = re.sub(r"^#.*\n", "", file.read_text(encoding="utf-8"), flags=re.MULTILINE).lstrip("\n")
    entries = []
    while text:
        if not (match := ENTRY.match(text)):
            sys.exit(f"{file}: neither a fault nor a part of one: {text.splitlines()[0]}")
        entries.append(Entry(match))
        text = text[match.end():]
    return entries
