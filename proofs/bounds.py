# SPDX-License-Identifier: Apache-2.0
"""How large words can grow, from the tables and constants of the library: bounds.cpp."""

import functools
import pathlib
import subprocess
import tempfile

from statements import Statement


def lines(root):
    """Compiles and runs the program; a line for each bound."""
    tables = (f"{name}_tables" for name in ("analysis_window", "filterbank", "transform"))
    files = [root / "proofs/bounds.cpp", root / "src/kernels/band_split_filters.cpp",
             *(root / f"src/noise_reduction/{name}.cpp" for name in ("geometry", *tables))]
    with tempfile.TemporaryDirectory() as folder:
        program = pathlib.Path(folder) / "bounds"
        subprocess.run(["clang++", "-std=c++20", "-O1", "-ffunction-sections", "-Wl,--gc-sections",
                        *(f"-I{root / name}" for name in ("src", "include")), *files,
                        "-o", program], check=True)
        done = subprocess.run([program], capture_output=True, text=True)
    if done.returncode not in (0, 1):
        raise RuntimeError(f"the bounds end with {done.returncode}")
    return [line.split("\t") for line in done.stdout.splitlines()]


def statements(source):
    for what, worst, reason in lines(source.folder):
        yield Statement(what, worst, functools.partial(lambda text: text or None, reason))
