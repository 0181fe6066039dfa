# SPDX-License-Identifier: Apache-2.0
"""The package as people install it: the commands and programs of its README, without network.

Environment: as for support; PYTHONPATH is not passed on.
"""

import os
import re
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

import numpy as np
from commands import SOURCE, arvessa
from support import read, scene

README = (SOURCE / "python/README.md").read_text(encoding="utf-8")


def blocks(language):
    return re.findall(rf"^```{language}\n(.*?)^```$", README, re.S | re.M)


class Package(unittest.TestCase):
    def setUp(self):
        self.folder = Path(self.enterContext(tempfile.TemporaryDirectory()))
        shutil.copy(SOURCE / "CMakeLists.txt", self.folder)
        for part in ("apps", "cmake", "include", "python", "src"):
            shutil.copytree(SOURCE / part, self.folder / part,
                            ignore=shutil.ignore_patterns("build", "*.egg-info"))
        # Nothing of this build, Debian's Python first, and no way out.
        self.environment = {
            **{name: value for name, value in os.environ.items() if name != "PYTHONPATH"},
            "PATH": "/usr/bin:" + os.environ["PATH"], "PIP_DISABLE_PIP_VERSION_CHECK": "1",
            **dict.fromkeys(("http_proxy", "https_proxy", "all_proxy"), "http://127.0.0.1:9")}

    def run_in_folder(self, *command):
        done = subprocess.run(command, cwd=self.folder, env=self.environment, text=True,
                              capture_output=True, timeout=900)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        return done.stdout

    def test_readme(self):
        self.run_in_folder("bash", "-e", "-c", blocks("sh")[0])
        scene(self.folder / "noisy.wav")
        arvessa("enhance", self.folder / "noisy.wav", "-o", self.folder / "clean.wav", "--no-agc")
        program = "".join(blocks("python"))
        program += "clean.tofile('clean.raw')\nprint(arvessa.__file__)\n"
        (self.folder / "program.py").write_text(program, encoding="utf-8")
        out = self.run_in_folder("venv/bin/python", "program.py")
        self.assertIn(f"{self.folder}/venv/lib/", out)
        np.testing.assert_array_equal(np.fromfile(self.folder / "clean.raw", np.int16),
                                      read(self.folder / "clean.wav"))
        tag = next(self.folder.glob("venv/lib/python3*/site-packages/arvessa-*.dist-info/WHEEL"))
        self.assertRegex(tag.read_text(), r"(?m)^Root-Is-Purelib: false\nTag: py3-none-linux_\w+$")
