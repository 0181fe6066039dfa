# SPDX-License-Identifier: Apache-2.0
"""Faults: what the rules make of a file, and in which order a seed takes them."""

import collections
import hashlib
import math

from mutation.code import Code, collapse
from mutation.rules import RULES


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
