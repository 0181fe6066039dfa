#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""The rules of scripts/mutate: the faults they make of a line, the places they leave alone."""

import pathlib
import sys
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "scripts"))
from mutation.faults import faults_of


def made(text, rule=None):
    """The faults of a source, as their lines: those of one rule, or of all."""
    return {fault.after for fault in faults_of("a.cpp", text) if rule in (None, fault.rule)}


class Rules(unittest.TestCase):
    def test_faults_of_a_line(self):
        for rule, line, expected in (
                ("constant", "return 8;",
                 {"return 9;", "return 7;", "return 16;", "return (-8);"}),
                ("constant", "x = 0.5F;", {"x = 0.6F;", "x = (2 * 0.5F);", "x = (-0.5F);"}),
                ("constant", "x = 0x10U;", {"x = 0x11U;", "x = 0xFU;", "x = 0x20U;"}),
                ("constant", "int x[8];", {"int x[7];"}),
                ("table", "int t[4] = {1, 2, -3, 4};",
                 {f"int t[4] = {{{row}}};" for row in (
                     "2, 2, -3, 4", "0, 2, -3, 4", "1, 3, -3, 4", "1, 1, -3, 4", "1, 2, -4, 4",
                     "1, 2, -2, 4", "1, 2, -3, 5", "1, 2, -3, 3")}),
                ("shift", "a >> 1;", {"a << 1;", "a >> 2;", "a >> 0;"}),
                ("shift", "a << n;", {"a >> n;", "a << n + 1;", "a << n - 1;"}),
                ("comparison", "a < b;", {"a <= b;"}),
                ("operator", "a && -b;", {"a || -b;", "a && b;"}),
                ("condition", "return f(a) || b || c;",
                 {"return b || c;", "return f(a) || c;", "return f(a) || b ;"}),
                ("branch", "if (a == b) f();", {"if (true) f();", "if (false) f();"}),
                ("branch", "x = f(a) ? b : c;", {"x = true ? b : c;", "x = false ? b : c;"}),
                ("conversion", "static_cast<std::int64_t>(a);", {"static_cast<Word32>(a);"}),
                ("call", "x = lSub(a, f(b, c));",
                 {"x = lAdd(a, f(b, c));", "x = lSub(f(b, c), a);", "x = lSub(a, f(c, b));"}),
                ("saturation", "x = saturate16(a);", {"x = Word16(a);"}),
                ("saturation", "x = std::min(a, b);", {"x = (a);"}),
                ("index", "x = y[i];", {"x = y[i + 1];"})):
            with self.subTest(rule=rule, line=line):
                self.assertEqual(made(line, rule), expected)

    def test_only_statements_are_dropped(self):
        text = "{\n  int x = 1;\n  x += 2;\n  if (x > 0) f(x);\n  return x;\n}\n"
        self.assertEqual(made(text, "statement"), {";", "if (x > 0) ;"})

    def test_a_loop_has_bounds_and_a_step(self):
        self.assertEqual(
            made("for (int i = 0; i < n; ++i) f();"),
            {f"for (int i = {head}) f();" for head in (
                "0 + 1; i < n; ++i", "0 - 1; i < n; ++i", "0; i < n + 1; ++i", "0; i < n - 1; ++i",
                "0; i < n; i += 2")})

    def test_what_is_no_code_stays(self):
        for text in ('// 1 + 2', '/* a < b */', '#define A 1 \\\n  + 2', '"1 + 2"',
                     'static_assert(a == 8);', '[[gnu::aligned(8)]]', 'void f(Word16* a, int b);',
                     'std::array<Word16, kBands> a;', 'using A = B<2>;'):
            self.assertEqual(made(text), set(), text)

    def test_a_choice_keeps_to_what_the_lines_say(self):
        before = faults_of("a.cpp", "x = 1;\ny = 2;\nx = 1;\n")
        after = faults_of("a.cpp", "// A comment.\nz = 3;\nx = 1;\ny  =  2;  // Two.\nx = 1;\n")
        ranks = {fault.rank(7) for fault in before}
        self.assertEqual(len(ranks), len(before))
        self.assertLessEqual(ranks, {fault.rank(7) for fault in after})
        self.assertTrue(ranks.isdisjoint(fault.rank(8) for fault in before))


unittest.main()
