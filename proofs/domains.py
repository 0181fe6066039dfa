# SPDX-License-Identifier: Apache-2.0
"""Functions of one number over whole domains, run natively: domains.cpp."""

import atexit
import functools
import pathlib
import shutil
import subprocess
import tempfile

from statements import Statement

# The key in domains.cpp, what is said, its domain, and what is looked at of it where there is little
# time: one number in so many, or the first so many.
STATEMENTS = [
    ("exp2", "2^x is the reference's", "2^16", 1, None),
    ("exp", "e^x is the reference's", "2^16", 1, None),
    ("log4", "floor(log4 x) is the reference's", "2^32", 61, None),
    ("root", "the square root is the reference's", "2^31, x >= 0", 61, None),
    ("amplitude", "T(v) / sqrt(v) is the reference's", "2^32", 1, 1 << 20),
    ("presence", "x / (x + 0.15) is the reference's", "2^32", 1, 1 << 20),
    ("short quotient", "shortQuotient is floor(num / den)", "num < 2^31, den < 2^16", 61, None),
    ("quotient", "SSE2 quotient is floor(num / den)", "num < 2^31, den < 2^15", 61, None),
    ("small quotient", "SSE2 smallQuotient is floor(num / den)", "num < 2^23, den < 2^15", 7, None),
    ("log4 of four", "SSE2 log4Of: exponent, mantissa", "0 < x < 2^31", 61, None),
    ("scaled", "SSE2 scaled is floor(x 2^n)", "x < 2^24, -24 <= n <= 7", 61, None)]


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
    for key, what, domain, step, count in STATEMENTS:
        if source.everything:
            step, count = 1, None
        part = f", one in {step}" if step > 1 else f", {count} of them" if count else ""

        def check(words=(key, str(step), *([str(count)] if count else []))):
            done = subprocess.run([compiled(), *words], check=True, capture_output=True, text=True)
            return done.stdout.strip() or None
        yield Statement(what, domain + part, check, bool(part))
