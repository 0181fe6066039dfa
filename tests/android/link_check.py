# SPDX-License-Identifier: Apache-2.0
"""Builds the library by a preset for Android, without the NDK, and reads what came out.

toolchain.cmake takes the NDK's place. Clang compiles for the platform; the link is against stand-ins
of the platform's libraries that hold nothing but the names in libc.txt, libm.txt and liblog.txt, so
any other name fails it.

Environment: ARVESSA_ANDROID_PRESET, ARVESSA_ANDROID_WORK (directory to build in), PYTHONPATH with
built_library.py.
"""

import collections
import json
import os
import pathlib
import re
import shutil
import unittest

from built_library import EXPORTS, LOG_FUNCTION, SOURCE, BuiltLibrary, run

HERE = pathlib.Path(__file__).resolve().parent
PLATFORM_LIBRARIES = ("libc", "libm", "liblog")
SOURCES = set((SOURCE / "src").rglob("*.cpp"))

# The port of Debian lends its headers and compiler runtime in place of the NDK's.
Abi = collections.namedtuple("Abi", "target debian machine page")
ARM = Abi("armv7a-linux-androideabi21", "arm-linux-gnueabi", "ARM", 0x1000)
ABIS = {  # by preset
    "android-armeabi-v7a": ARM,
    "android-armeabi-v7a-soft": ARM,
    "android-arm64-v8a": Abi("aarch64-linux-android21", "aarch64-linux-gnu", "AArch64", 0x4000),
}


def names_in(path):
    lines = (line.strip() for line in path.read_text().splitlines())
    return [line for line in lines if line and not line.startswith("#")]


def make_stub(abi, name, directory, more=()):
    """A shared library with a label for each allowed name, and for some more, and no code."""
    source = directory / f"{name}.s"
    labels = (f".globl {label}\n.type {label}, %function\n{label}:\n"
              for label in (*names_in(HERE / f"{name}.txt"), *more))
    source.write_text(".text\n" + "".join(labels))
    run("clang", f"--target={abi.target}", "-shared", "-nostdlib", "-fuse-ld=lld",
        f"-Wl,-soname,{name}.so", source, "-o", directory / f"{name}.so")


class AndroidLibrary(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.preset = os.environ["ARVESSA_ANDROID_PRESET"]
        cls.abi = abi = ABIS[cls.preset]
        work = pathlib.Path(os.environ["ARVESSA_ANDROID_WORK"])
        stubs = work / "stubs"
        shutil.rmtree(work, ignore_errors=True)
        stubs.mkdir(parents=True)
        for library in PLATFORM_LIBRARIES:
            make_stub(abi, library, stubs)
        ndk = work / "ndk"
        toolchain = ndk / "build" / "cmake" / "android.toolchain.cmake"
        toolchain.parent.mkdir(parents=True)
        shutil.copy(HERE / "toolchain.cmake", toolchain)
        cls.build = work / "build"
        runtime = run(f"{abi.debian}-gcc", "-print-libgcc-file-name").strip()
        run("env", f"ANDROID_NDK={ndk}", "cmake", "-S", SOURCE, "--preset", cls.preset, "-B",
            cls.build, f"-DARVESSA_STUBS={stubs}", f"-DARVESSA_LIBGCC={runtime}",
            f"-DARVESSA_HEADERS={abi.debian}")
        run("cmake", "--build", cls.build)
        cls.library = BuiltLibrary(cls.build / "src" / "libArvessa_ANDROID.so")

    def test_example_compiles_and_links_with_it(self):
        example = SOURCE / "examples" / "android"
        headers = pathlib.Path("/usr", self.abi.debian, "include")
        jni = pathlib.Path("/usr/include/android/nativehelper")
        compiled = [f"--target={self.abi.target}", "-nostdlibinc", "-Wall", "-Wextra", "-Werror",
                    "-I", SOURCE / "include"]
        run("clang++", *compiled, "-std=c++17", "-isystem", headers / "c++/12", "-isystem",
            headers / "c++/12" / self.abi.debian, "-isystem", headers, "-fsyntax-only", "-x", "c++",
            example / "hal" / "speech_input.h", "-Wno-pragma-once-outside-header")
        stubs = self.build / "jni_stubs"
        stubs.mkdir(exist_ok=True)
        make_stub(self.abi, "libc", stubs, more=("malloc", "free"))
        glue = self.build / "libarvessa_jni.so"
        run("clang", *compiled, "-isystem", headers, "-isystem", jni, "-fPIC", "-shared", "-nostdlib",
            "-fuse-ld=lld", "-Wl,-z,defs", "-L", self.build / "src", "-L", stubs,
            example / "jni" / "arvessa_jni.c", "-lArvessa_ANDROID", "-lc", "-o", glue)
        self.assertEqual(set(BuiltLibrary(glue).symbols(defined=True)), {
            "Java_arvessa_FrontEnd_open", "Java_arvessa_FrontEnd_process__J_3S_3S",
            "Java_arvessa_FrontEnd_close__J"})

    def code(self):
        return run(f"{self.abi.debian}-objdump", "--disassemble", "--no-show-raw-insn",
                   self.library.path)

    def test_every_source_is_in_it(self):
        commands = json.loads((self.build / "compile_commands.json").read_text())
        compiled = {pathlib.Path(entry["file"]) for entry in commands}
        self.assertEqual(compiled, SOURCES)
        for entry in commands:
            self.assertIn(f"--target={self.abi.target}", entry["command"])

    def test_float_options_are_the_presets(self):
        commands = (self.build / "compile_commands.json").read_text()
        soft = self.preset.endswith("-soft")
        self.assertEqual("-mfloat-abi=soft " in commands, soft)
        self.assertEqual("__aeabi_fmul" in self.code(), soft)

    def test_machine_and_names(self):
        header = self.library.readelf("--file-header")
        self.assertRegex(header, rf"Machine: +{self.abi.machine}\n")
        self.assertRegex(header, r"Type: +DYN ")
        self.assertEqual(self.library.entries("SONAME"), ["libArvessa_ANDROID.so"])
        self.assertEqual(sorted(self.library.entries("NEEDED")), ["libc.so", "liblog.so"])

    def test_exports_and_calls_nothing_but_what_is_allowed(self):
        """Exports: without the stand-in for the log function that it has elsewhere."""
        self.assertEqual(set(self.library.symbols(defined=True)), EXPORTS)
        undefined = set(self.library.symbols(defined=False))
        allowed = (names_in(HERE / f"{library}.txt") for library in PLATFORM_LIBRARIES)
        self.assertLessEqual(undefined, set().union(*allowed))
        self.assertIn(LOG_FUNCTION, undefined)

    def test_runs_nothing_when_loaded_and_has_no_writable_data(self):
        self.assertEqual(self.library.loading_code(), [])
        self.assertLessEqual(set(self.library.writable_sections()), {".data.rel.ro"})

    def test_no_object_asks_for_the_unwinder(self):
        """The NDK's linker would find one, and it allocates."""
        objects = list(self.build.rglob("*.cpp.o"))
        self.assertEqual(len(objects), len(SOURCES))
        for path in objects:
            symbols = run("readelf", "--symbols", "--wide", path)
            self.assertNotRegex(symbols, r"(?i)unwind|personality", path)

    def test_segments_suit_the_page(self):
        segments = self.library.readelf("--program-headers")
        loads = re.findall(r"^ +LOAD .* (0x\w+)$", segments, re.MULTILINE)
        self.assertGreaterEqual(len(loads), 2)
        for alignment in loads:
            self.assertEqual(int(alignment, 16), self.abi.page)
        self.assertRegex(segments, r"GNU_STACK .* RW +0")

    def test_no_float_in_the_vector_unit(self):
        """On 32-bit ARM it flushes denormals. Conversions apart, an operation on a d or q register
        that names f32 is one."""
        if self.abi.machine != "ARM":
            return
        code = self.code()
        self.assertIn("MVDR_BeamForming", code)
        self.assertEqual(re.findall(r"\sv\w+\.f32(?:\.\w+)?\s+[qd]\d+.*", code), [])
