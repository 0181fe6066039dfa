#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""The Debian packages: what is in them, and whether they work where nothing else of this project is.

usage: packages_test.py [-v] FOLDER

FOLDER has arvessa_*.deb and libarvessa-dev_*.deb. As root, with debootstrap there, they are installed
by apt into a new root; without, they are unpacked, and apt only says what it would do.
"""

import glob
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
import wave

SOURCE = pathlib.Path(__file__).resolve().parents[2]
FOLDER = pathlib.Path(sys.argv.pop()).resolve()
SPEECH = SOURCE / "audio/speech_female_16k.wav"


def run(*command, **options):
    done = subprocess.run([str(word) for word in command], text=True, stdin=subprocess.DEVNULL,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, **options)
    if done.returncode != 0:
        raise AssertionError(f"{' '.join(map(str, command))}\n{done.stdout}")
    return done.stdout


class Packages(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.packages = {name: glob.glob(f"{FOLDER}/{name}_*.deb")[0]
                        for name in ("arvessa", "libarvessa-dev")}
        cls.folder = tempfile.TemporaryDirectory()
        cls.root = pathlib.Path(cls.folder.name, "root")
        for package in cls.packages.values():
            run("dpkg-deb", "--extract", package, cls.root)
        cls.libraries = next(cls.root.glob("usr/lib/*/arvessa"))

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    def test_holds_what_was_promised(self):
        found = {str(path.relative_to(self.root)) for path in self.root.rglob("*") if path.is_file()}
        triplet = self.libraries.parent.name
        for name in ("usr/bin/arvessa", "usr/lib/ladspa/arvessa.so", "usr/share/man/man1/arvessa.1.gz",
                     "usr/share/bash-completion/completions/arvessa", "usr/include/Arvessa.h",
                     f"usr/lib/{triplet}/arvessa/libArvessa_ANDROID.so",
                     f"usr/lib/{triplet}/libArvessa.a", f"usr/lib/{triplet}/pkgconfig/arvessa.pc",
                     f"usr/lib/{triplet}/cmake/Arvessa/ArvessaConfig.cmake",
                     "usr/share/doc/arvessa/examples/vorn.conf", "usr/share/arvessa/arvessa.html"):
            self.assertIn(name, found)
        version = run("dpkg-parsechangelog", "-l", SOURCE / "debian/changelog", "-S", "Version")
        self.assertEqual(run(self.root / "usr/bin/arvessa", "--version").split()[1], version.strip())

    def test_command_and_plugin_run_and_agree(self):
        command = self.root / "usr/bin/arvessa"
        with tempfile.TemporaryDirectory() as work:
            noisy, clean, later = (pathlib.Path(work, name) for name in
                                   ("noisy.wav", "clean.wav", "later.wav"))
            run(command, "scene", SPEECH, "--rate", 8000, "-o", noisy)
            run(command, "enhance", noisy, "--keep-delay", "-o", clean)
            run("applyplugin", noisy, later, self.root / "usr/lib/ladspa/arvessa.so", "arvessa", 0, 0,
                0)
            with wave.open(str(clean)) as a, wave.open(str(later)) as b:
                expected, found = bytes(160) + a.readframes(1 << 20), b.readframes(1 << 20)
            self.assertGreater(len(found), 100000)
            self.assertEqual(found, expected[:len(found)])

    def test_a_program_is_built_with_the_development_package(self):
        with tempfile.TemporaryDirectory() as work:
            program = pathlib.Path(work, "program")
            readme = (SOURCE / "README.md").read_text(encoding="utf-8")
            program.with_suffix(".c").write_text(re.search(r"```c\n(.*?)```", readme, re.S).group(1))
            config = {**os.environ, "PKG_CONFIG_PATH": str(self.libraries.parent / "pkgconfig")}
            flags = run("pkg-config", "--cflags", "--libs", "arvessa", env=config).split()
            run("cc", program.with_suffix(".c"), *flags, "-o", program)
            run(program)
            run("cmake", "-S", SOURCE / "tests/install/consumer", "-B", work,
                f"-DCMAKE_PREFIX_PATH={self.root}/usr")
            run("cmake", "--build", work)
            for name in ("consumer_c", "consumer_static"):
                self.assertEqual(run(pathlib.Path(work, name)).splitlines()[-1], "100 103")

    def test_apt_installs_them_into_a_clean_root(self):
        packages = list(self.packages.values())
        if os.geteuid() != 0 or not shutil.which("debootstrap"):
            print("(no debootstrap: apt only says what it would do)", end=" ")
            said = run("apt-get", "install", "--simulate", "--no-install-recommends", *packages,
                       "-o", "Dir::State::status=/dev/null")
            self.assertIn("Inst arvessa ", said)
            return
        root = pathlib.Path(self.folder.name, "debian")
        suite = run("sh", "-c", ". /etc/os-release; echo $VERSION_CODENAME").strip()
        run("debootstrap", "--variant=minbase", suite, root)
        for file in (*packages, SPEECH):
            shutil.copy(file, root / "tmp")
        inside = ("chroot", root, "sh", "-ec")
        run(*inside, "apt-get install --yes --no-install-recommends /tmp/arvessa_*.deb && "
            "arvessa scene /tmp/*.wav -o /tmp/noisy.flac && arvessa enhance /tmp/noisy.flac -o "
            "/tmp/clean.wav && test -s /tmp/clean.wav && apt-get remove --yes arvessa")
        self.assertFalse((root / "usr/lib/ladspa/arvessa.so").exists())


if __name__ == "__main__":
    unittest.main()
