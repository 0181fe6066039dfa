# SPDX-License-Identifier: Apache-2.0
"""Installs the library into an empty folder and builds programs from what is there.

Environment: ARVESSA_BUILD, the build directory, or ARVESSA_PREFIX, where it is installed already;
PYTHONPATH with built_library.py.
"""

import os
import re
import subprocess
import tempfile
import unittest

from built_library import SOURCE, run

BUILD = os.environ.get("ARVESSA_BUILD")


class Installed(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = cls.enterClassContext(tempfile.TemporaryDirectory())
        cls.prefix = os.environ.get("ARVESSA_PREFIX", os.path.join(cls.folder, "prefix"))
        if BUILD:
            run("cmake", "--install", BUILD, "--prefix", cls.prefix)

    def path(self, *parts):
        return os.path.join(self.folder, *parts)

    @unittest.skipUnless(BUILD, "installed already")
    def test_what_people_run_is_where_their_programs_look(self):
        for built, installed in (("apps/arvessa/arvessa", "bin/arvessa"),
                                 ("apps/arvessa/arvessa.1", "share/man/man1/arvessa.1"),
                                 ("apps/arvessa/arvessa", "share/bash-completion/completions/arvessa"),
                                 ("plugins/arvessa.so", "lib/ladspa/arvessa.so")):
            self.assertEqual(os.path.exists(os.path.join(BUILD, built)),
                             os.path.exists(os.path.join(self.prefix, installed)), installed)

    def test_find_package_serves_c_and_cpp(self):
        run("cmake", "-S", os.path.join(SOURCE, "tests/install/consumer"), "-B", self.path("consumer"),
            "-DCMAKE_PREFIX_PATH=" + self.prefix)
        run("cmake", "--build", self.path("consumer"))
        for program in ("consumer_c", "consumer_static"):
            self.assertEqual(run(self.path("consumer", program)), "100 103\n")
        run(self.path("consumer/consumer_cpp"))

    def test_program_of_the_readme_builds_with_pkg_config_and_runs(self):
        with open(os.path.join(SOURCE, "README.md"), encoding="utf-8") as f:
            program = re.search(r"```c\n(.*?)```", f.read(), re.S).group(1)
        with open(self.path("program.c"), "w", encoding="utf-8") as f:
            f.write(program)
        for folder, _, files in os.walk(self.prefix):
            if "arvessa.pc" in files:
                config = folder
        environment = dict(os.environ, PKG_CONFIG_PATH=config)
        flags = run("pkg-config", "--cflags", "--libs", "arvessa", env=environment).split()
        libraries = run("pkg-config", "--variable=libdir", "arvessa", env=environment).strip()
        run("cc", "-std=c99", "-Wall", "-Wextra", "-Wpedantic", "-Werror", self.path("program.c"),
            "-o", self.path("program"), *flags, "-Wl,-rpath," + libraries)
        # Two seconds of a loud square wave on both microphones.
        frame = b"".join(int(8000 if n // 8 % 2 else -8000).to_bytes(2, "little", signed=True) * 2
                         for n in range(80))
        done = subprocess.run([self.path("program")], input=frame * 200, capture_output=True,
                              check=True)
        self.assertEqual(len(done.stdout), 200 * 160)
        tail = [int.from_bytes(done.stdout[i:i + 2], "little", signed=True)
                for i in range(30000, 32000, 2)]
        self.assertGreater(max(tail), 1000)


if __name__ == "__main__":
    unittest.main()
