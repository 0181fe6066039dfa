# SPDX-License-Identifier: Apache-2.0
"""Reads what is needed of the text of LLVM's intermediate representation, as Clang 14 writes it."""

import collections
import re
import subprocess
import sys

# Nothing that mixes iterations of a loop, so that a proof sees the source's own steps; calls inlined.
OPTIONS = ("-std=c++20", "-O2", "-fno-vectorize", "-fno-slp-vectorize", "-fno-unroll-loops",
           "-fno-exceptions", "-ffp-contract=off", "-mllvm", "-inline-threshold=100000", "-w",
           "-S", "-emit-llvm", "-o", "-")

Instruction = collections.namedtuple("Instruction", "result name rest")
Function = collections.namedtuple("Function", "name parameters blocks entry")
# Types: an int is an integer's width; ("vector" or "array", n, of), ("struct", [of, ..]),
# ("pointer", of), "double".
TOKEN = re.compile(r'\s*(%"[^"]*"|[%@!][-\w.$]+|@"[^"]*"|c"[^"]*"|-?\d[-+.\w]*|[a-zA-Z_][\w.]*|\S)')


def compiled(source, target, *options):
    """The module of a C++ source: its functions by name."""
    command = ["clang++", f"--target={target}", *OPTIONS, *options, str(source)]
    done = subprocess.run(command, capture_output=True, text=True)
    if done.returncode:
        sys.exit(f"{' '.join(command)}\n{done.stderr}")
    return functions_of(done.stdout)


def tokens(text):
    return TOKEN.findall(re.sub(r", ![\w.]+ !\d+|, align \d+|#\d+|!srcloc", "", text))


class Tokens:
    """Takes types, operands and words off the front of a line."""

    def __init__(self, text):
        self.all, self.at = tokens(text), 0

    def peek(self):
        return self.all[self.at] if self.at < len(self.all) else ""

    def take(self, *expected):
        word = self.peek()
        if expected and word not in expected:
            raise NotImplementedError(f"{word!r} where {expected} was expected: {self.all}")
        self.at += 1
        return word

    def skip(self, *words):
        found = set()
        while self.peek() in words:
            found.add(self.take())
        return found

    def list(self, item, end):
        items = []
        while self.peek() != end:
            items.append(item())
            self.skip(",")
        self.take(end)
        return items

    def type(self):
        word = self.take()
        if word == "<" and self.peek() == "{":  # a packed struct
            kind = self.type()
            self.take(">")
        elif word in ("<", "["):
            count = int(self.take())
            self.take("x")
            kind = ("vector" if word == "<" else "array", count, self.type())
            self.take(">", "]")
        elif word == "{":
            kind = ("struct", self.list(self.type, "}"))
        elif re.fullmatch(r"i\d+", word):
            kind = int(word[1:])
        elif word in ("double", "void", "label", "metadata") or word[0] == "%":
            kind = word
        else:
            raise NotImplementedError(f"type {word} in {self.all}")
        if self.peek() == "(":  # of a function
            self.take()
            self.list(lambda: self.type() if self.peek() != "." else self.take(), ")")
        while self.peek() == "*":
            self.take()
            kind = ("pointer", kind)
        return kind

    def typed(self):
        """A type and an operand."""
        kind = self.type()
        while self.peek() in ATTRIBUTES:
            if self.take() in ("align", "dereferenceable", "dereferenceable_or_null"):
                self.skip("(")
                self.take()
                self.skip(")")
        return kind, self.operand()

    def operand(self):
        word = self.take()
        if word in ("<", "["):
            return self.list(self.typed, ">" if word == "<" else "]")
        return word


ATTRIBUTES = {"noundef", "signext", "zeroext", "nocapture", "readonly", "writeonly", "readnone",
              "nonnull", "align", "dereferenceable", "dereferenceable_or_null", "noalias", "immarg",
              "returned"}


def without_type_names(text):
    """The text with every named type written out."""
    types = dict(re.findall(r'^(%(?:"[^"]*"|[\w.]+)) = type (.*)$', text, re.M))
    pattern = re.compile("|".join(re.escape(name) + r"(?![\w.])" for name in types) or "(?!)")
    while pattern.search(text := re.sub(r"^%.* = type .*$", "", text, flags=re.M)):
        text = pattern.sub(lambda match: types[match[0]], text)
    return text


def functions_of(text):
    found, text = {}, without_type_names(text)
    for head, body in re.findall(r"^define ([^\n]*) \{\n(.*?)^\}", text, re.M | re.S):
        name, parameters = re.search(r"@([\w.$]+)\((.*?)\) (?:unnamed|local_unnamed|#|\w)",
                                     head + " #").groups()
        arguments = re.findall(r"%[\w.]+(?=,|$)", parameters)
        blocks, label = {}, str(len(arguments))
        entry = label
        for line in body.splitlines():
            line = re.sub(r"\s*;.*", "", line)
            if match := re.match(r"([-\w.]+):", line):
                label = match[1]
            elif line.startswith("    ") or line.strip() == "]":  # the cases of a switch
                last = blocks[label][-1]
                blocks[label][-1] = last._replace(rest=last.rest + line)
            elif line:
                result, name_of, rest = re.match(
                    r"\s+(?:(%[\w.]+) = )?(?:(?:tail |musttail |notail )?)([a-z]+)\s*(.*)",
                    line).groups()
                blocks.setdefault(label, []).append(Instruction(result, name_of, rest))
        found[name] = Function(name, arguments, blocks, entry)
    return found
