#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""The Debian packages: what is in them, and whether they work where nothing else of this project is.

usage: packages_test.py [-v] FOLDER

PYTHONPATH has built_library.py, FOLDER arvessa_*.deb and libarvessa-dev_*.deb. As root, with
debootstrap there, they are installed by apt into a new root; without, they are unpacked, and apt only
says what it would do.
"""

import glob
import os
import pathlib
import shutil
import sys
import tempfile
import unittest

from built_library import SOURCE, run

FOLDER = pathlib.Path(sys.argv.pop()).resolve()
SPEECH = SOURCE / "audio/speech_female_16k.wav"


class Packages(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.packages = {name: glob.glob(f"{FOLDER}/{name}_*.deb")[0]
                        for name in ("arvessa", "libarvessa-dev")}
        cls.folder = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory()))
        cls.root = cls.folder / "root"
        for package in cls.packages.values():
            run("dpkg-deb", "--extract", package, cls.root)
        cls.libraries = next(cls.root.glob("usr/lib/*/arvessa"))

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

    def test_command_and_plugins_start(self):
        version = run("dpkg-parsechangelog", "-l", SOURCE / "debian/changelog", "-S", "Version")
        self.assertEqual(run(self.root / "usr/bin/arvessa", "--version").split()[1], version.strip())
        self.assertIn("vorn", run("analyseplugin", self.root / "usr/lib/ladspa/arvessa.so"))

    def test_a_program_is_built_with_the_development_package(self):
        run(sys.executable, SOURCE / "tests/install/install_test.py", "-v",
            env={**os.environ, "ARVESSA_PREFIX": str(self.root / "usr")})

    def test_apt_installs_them_into_a_clean_root(self):
        packages = list(self.packages.values())
        if os.geteuid() != 0 or not shutil.which("debootstrap"):
            print("(no debootstrap: apt only says what it would do)", end=" ")
            said = run("apt-get", "install", "--simulate", "--no-install-recommends", *packages,
                       "-o", "Dir::State::status=/dev/null")
            self.assertIn("Inst arvessa ", said)
            return
        root = self.folder / "debian"
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
