#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""What the built library shows to a linker: exports, dependencies, writable bytes.

Environment: ARVESSA_LIBRARY, the shared object, of any machine and byte order.
"""

import os
import re
import subprocess
import unittest

LIBRARY = os.environ["ARVESSA_LIBRARY"]
HERE = os.path.dirname(os.path.abspath(__file__))

# All that the library may take from the platform: block memory functions, and for the log line's
# stand-in the C library's standard error. Nothing here allocates, locks or opens.
ALLOWED_UNDEFINED = {"memcpy", "memmove", "memset", "fprintf", "vsnprintf", "stderr", "fputc",
                     "fwrite", "__vsnprintf_chk", "__fprintf_chk",
                     "raise"}  # by the compiler's division by zero on ARM
ALLOWED_NEEDED = re.compile(r"libc\.so\.6|libm\.so\.6|ld-linux.*\.so\.\d|ld64?\.so\.\d")


def readelf(*options):
    return subprocess.run(["readelf", "--wide", *options, LIBRARY], check=True, text=True,
                          capture_output=True).stdout


def dynamic_symbols():
    """(name, type, binding, section) of each dynamic symbol."""
    for line in readelf("--dyn-syms").splitlines():
        # number: value size type binding visibility section name[@version]; other columns may follow
        # the visibility.
        match = re.match(r"\s*\d+: \S+\s+\S+ (\S+)\s+(\S+)\s+(\S+)\s+(?:\[.*\]\s+)?(\S+) (\S+)", line)
        if match:
            kind, binding, _, section, name = match.groups()
            if binding != "LOCAL":  # section symbols
                yield name.split("@")[0], kind, binding, section


class Library(unittest.TestCase):
    def test_exports_are_the_committed_list_and_the_log_stand_in(self):
        with open(os.path.join(HERE, "../../src/abi/exports.txt"), encoding="ascii") as f:
            wanted = set(f.read().split())
        self.assertEqual(len(wanted), 123)
        exported = {name: (kind, binding) for name, kind, binding, section in dynamic_symbols()
                    if section != "UND"}
        self.assertEqual(exported.pop("__android_log_print"), ("FUNC", "WEAK"))
        self.assertEqual(set(exported), wanted)
        for name, (kind, binding) in exported.items():
            is_table = "TABLE" in name or "CONST" in name or name == "u8BitRTab"
            self.assertEqual((kind, binding), ("OBJECT" if is_table else "FUNC", "GLOBAL"), name)

    def test_depends_on_the_c_library_only(self):
        needed = re.findall(r"\(NEEDED\).*\[(.*)\]", readelf("--dynamic"))
        self.assertIn("libc.so.6", needed)
        for name in needed:
            self.assertRegex(name, ALLOWED_NEEDED)
        undefined = {name for name, _, _, section in dynamic_symbols() if section == "UND"}
        self.assertEqual(undefined - ALLOWED_UNDEFINED, set())

    def test_has_its_name_and_no_text_relocations(self):
        dynamic = readelf("--dynamic")
        self.assertIn("[libArvessa_ANDROID.so]", dynamic)
        self.assertNotIn("TEXTREL", dynamic)
        self.assertNotRegex(dynamic, r"\((INIT|FINI)(_ARRAY)?\)", "code that runs when it is loaded")

    def test_has_no_writable_data(self):
        sections = dict(re.findall(r"\] (\.[\w.]+)\s+\w+\s+\w+ \w+ (\w+)", readelf("--sections")))
        self.assertIn(".text", sections)
        for name in (".data", ".bss", ".tdata", ".tbss", ".data.rel.ro"):
            self.assertEqual(int(sections.get(name, "0"), 16), 0, name)


if __name__ == "__main__":
    unittest.main()
