# SPDX-License-Identifier: Apache-2.0
"""The two lists beside the rules: faults that no input can show, and faults made by hand.

An entry is a heading and lines that begin with `- ` for the old text, `+ ` for the new one and `= `
for the reason why nothing can show it. The heading is `path [rule]`, followed by the number of places
before it with the same lines if there are any, or `path [hand] what is wrong then`. Lines that begin
with # do not count. Old text is found by its content.
"""

import collections
import re
import sys

from mutation.code import Code, collapse
from mutation.faults import Fault


class Entry:
    def __init__(self, path, rule, what):
        self.path, self.rule, self.what = path, rule, what
        self.lines = collections.defaultdict(list)  # by their marks

    def __str__(self):
        what = self.what if self.rule == "hand" else self.text("-")
        return f"{self.path} [{self.rule}] {what}"

    def text(self, mark):
        return "\n".join(self.lines[mark])

    def key(self):
        """What Fault.key() is for the same fault."""
        before, after = collapse(self.text("-")), collapse(self.text("+"))
        return self.path, self.rule, before, after, int(self.what or 0)


def read(file):
    entries = []
    for number, line in enumerate(file.read_text(encoding="utf-8").splitlines(), 1):
        heading = re.fullmatch(r"(\S+) \[(\w+)\] ?(.*)", line)
        if line[:1] in ("-", "+", "=") and entries:
            entries[-1].lines[line[0]].append(line[2:])
        elif heading:
            entries.append(Entry(*heading.groups()))
        elif line and not line.startswith("#"):
            sys.exit(f"{file}:{number}: neither a fault nor a part of one")
    return entries


def faults_by_hand(entries, root):
    """The faults of a list; and the entries whose old text is not in its file exactly once."""
    fitting, others = [], []
    for entry in entries:
        file, old, new = root / entry.path, entry.text("-"), entry.text("+")
        text = file.read_text(encoding="utf-8") if file.is_file() else ""
        if not old or text.count(old) != 1:
            others.append(entry)
            continue
        start = text.index(old)
        fault = Fault(entry.path, entry.rule, Code(text), start, start + len(old), new)
        fault.before, fault.after = collapse(old), f"({entry.what})"
        fitting.append(fault)
    return fitting, others
