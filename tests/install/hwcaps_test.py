# SPDX-License-Identifier: Apache-2.0
"""Which of the two installed libraries the loader takes, and that both compute the same.

Environment: ARVESSA_BUILD, the build directory; ARVESSA_STREAM_TESTS, a program that links to the
library and prints a checksum of what it computes; PYTHONPATH with built_library.py.
"""

import os
import pathlib
import re
import subprocess
import tempfile
import unittest

from built_library import run

V3 = {"avx2", "bmi1", "bmi2", "f16c", "fma", "abm", "movbe"}  # as the kernel names them
FORBIDDEN = {"GLIBC_TUNABLES": "glibc.cpu.hwcaps=-AVX2"}


class Hwcaps(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        prefix = cls.enterClassContext(tempfile.TemporaryDirectory())
        run("cmake", "--install", os.environ["ARVESSA_BUILD"], "--prefix", prefix)
        cls.v3, = pathlib.Path(prefix).glob("lib*/**/glibc-hwcaps/x86-64-v3/libArvessa_ANDROID.so")
        cls.baseline = cls.v3.parents[2] / cls.v3.name

    def streams(self, more):
        """The library that was loaded, and the checksum of all streams."""
        done = subprocess.run(
            [os.environ["ARVESSA_STREAM_TESTS"], "--gtest_filter=All/Streams*"], text=True,
            env={**os.environ, **more, "LD_LIBRARY_PATH": str(self.baseline.parent),
                 "LD_DEBUG": "libs"}, capture_output=True, check=True)
        tried = re.findall(rf"trying file=(\S*{self.v3.name})", done.stderr)
        return pathlib.Path(tried[-1]), re.search(r"reference streams: .*", done.stdout)[0]

    def test_the_loader_takes_what_the_processor_has_unless_forbidden_and_both_are_equal(self):
        flags = re.search(r"flags\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text())[1].split()
        loaded, checksum = self.streams({})
        self.assertEqual(loaded, self.v3 if V3 <= set(flags) else self.baseline)
        self.assertEqual(self.streams(FORBIDDEN), (self.baseline, checksum))
