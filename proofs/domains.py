# SPDX-License-Identifier: Apache-2.0
"""Functions of one number over whole domains, run natively: domains.cpp."""

import atexit
import functools
import pathlib
import shutil
import subprocess
import tempfile

from statements import Statement

ALL = 1 << 32
# The key in domains.cpp, what is said, its domain, and how many of its first numbers are looked at and
# which of the others: where there is little time, and with --all. The curves are constant from 2^24 on.
STATEMENTS = [
    ("exp2", "2^x is the reference's", "2^16", (ALL, 1), (ALL, 1)),
    ("exp", "e^x is the reference's", "2^16", (ALL, 1), (ALL, 1)),
    ("log4", "floor(log4 x) is the reference's", "2^32", (0, 61), (ALL, 1)),
    ("root", "the square root is the reference's", "2^31, x >= 0", (0, 61), (ALL, 1)),
    ("coefficient", "lMult32ByCoefficient is the reference's", "2^32", (0, 61), (ALL, 1)),
    ("amplitude", "T(v) / sqrt(v) is the reference's", "2^32", (1 << 20, 99991), (1 << 24, 251)),
    ("presence", "x / (x + 0.15) is the reference's", "2^32", (1 << 20, 99991), (1 << 24, 251)),
    ("short quotient", "shortQuotient is floor(num / den)", "num < 2^31, den < 2^16", (0, 61),
     (ALL, 1)),
    ("quotient", "SSE2 quotient is floor(num / den)", "num < 2^31, den < 2^15", (0, 61), (ALL, 1)),
    ("small quotient", "SSE2 smallQuotient is floor(num / den)", "num < 2^23, den < 2^15", (0, 7),
     (ALL, 1)),
    ("log4 of four", "SSE2 log4Of: exponent, mantissa", "0 < x < 2^31", (0, 61), (ALL, 1)),
    ("scaled", "SSE2 scaled is floor(x 2^n)", "x < 2^24, -24 <= n <= 7", (0, 61), (ALL, 1))]


def program(source):
    """Compiles it with the reference and what tables both take."""
    folder = pathlib.Path(tempfile.mkdtemp())
    atexit.register(shutil.rmtree, folder)
    root = source.folder
    files = [root / "proofs/domains.cpp", root / "src/kernels/gain_curve_table.cpp",
             root / "src/arithmetic/pow2_table.cpp",
             *(root / f"src/noise_reduction/{name}.cpp" for name in (
                 "filterbank_tables", "transform_tables", "analysis_window_tables")),
             *(root / f"tests/reference/{name}.cpp" for name in (
                 "arithmetic", "gain", "tables", "analysis"))]
    subprocess.run(["clang++", "-std=c++20", "-O2", "-ffp-contract=off", "-pthread",
                    *(f"-I{root / name}" for name in ("src", "include", "tests")), *files,
                    "-ffunction-sections", "-Wl,--gc-sections", "-o", folder / "domains"],
                   check=True)
    return folder / "domains"


def statements(source):
    compiled = functools.cache(lambda: program(source))
    for key, what, domain, *looks in STATEMENTS:
        whole, step = looks[source.everything]

        def check(words=(key, str(whole), str(step))):
            done = subprocess.run([compiled(), *words], check=True, capture_output=True, text=True)
            return done.stdout.strip() or None
        yield Statement(what, domain + (f", one in {step}" + f" from 2^{whole.bit_length() - 1} on" * (
            whole > 0) if step > 1 else ""), check, step > 1)
