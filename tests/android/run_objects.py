#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Runs the tests with the code that link_check.py compiled for Android.

The same object files, linked once more into a library for Debian's ARM port, take the place of the
library that the test program was built with.

usage: run_objects.py WORK TESTS EMULATOR...

WORK      directory in which link_check.py built
TESTS     test program for Debian's soft-float ARM port
EMULATOR  command that runs it, libraries of the port included
"""

import pathlib
import subprocess
import sys

SOURCE = pathlib.Path(__file__).resolve().parents[2]
TARGET = "arm-linux-gnueabi"
LIBRARY = "libArvessa_ANDROID.so"


def link_for_debian(work):
    objects = sorted((work / "build").rglob("*.cpp.o"))
    if not objects:
        sys.exit(f"{work} has no object files: link_check.py goes first")
    library = work / "debian" / LIBRARY
    library.parent.mkdir(exist_ok=True)
    log = library.parent / "log.o"  # the platform's log function, which Debian has not
    subprocess.run([f"{TARGET}-g++", "-std=c++20", "-fPIC", "-I", SOURCE / "src", "-c",
                    SOURCE / "src/abi/android_log.cpp", "-o", log], check=True)
    subprocess.run([f"{TARGET}-gcc", "-shared", "-nostartfiles", f"-Wl,-soname,{LIBRARY}",
                    "-Wl,-z,defs", "-Wl,-Bsymbolic",
                    f"-Wl,--dynamic-list={SOURCE / 'cmake/interposable_symbols.txt'}",
                    *objects, log, "-o", library], check=True)
    return library


def main():
    work, tests, *emulator = sys.argv[1:]
    library = link_for_debian(pathlib.Path(work))
    replaced = [*emulator, "-E", f"LD_PRELOAD={library}"]
    loaded = subprocess.run([*replaced, "-E", "LD_TRACE_LOADED_OBJECTS=1", tests],
                            stdout=subprocess.PIPE, text=True, check=True).stdout
    ours = [line.strip() for line in loaded.splitlines() if LIBRARY in line]
    if len(ours) != 1 or str(library) not in ours[0]:
        sys.exit(f"the library of Android objects is not the one that is loaded:\n{loaded}")
    sys.exit(subprocess.run([*replaced, tests, "--gtest_brief=1"]).returncode)


if __name__ == "__main__":
    main()
