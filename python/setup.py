# SPDX-License-Identifier: Apache-2.0
"""Builds the shared object of the package with the project's CMake.

It is loaded, not linked to Python, so that one wheel serves every Python of a platform.
"""

import re
import subprocess
from pathlib import Path

from setuptools import Distribution, setup
from setuptools.command.build_py import build_py

try:
    from setuptools.command.bdist_wheel import bdist_wheel
except ImportError:
    from wheel.bdist_wheel import bdist_wheel

PROJECT = Path(__file__).resolve().parent.parent
VERSION = re.search(r"^  VERSION ([0-9.]+)$", (PROJECT / "CMakeLists.txt").read_text(), re.M)[1]


class BuildWithCMake(build_py):
    def run(self):
        super().run()
        build = Path(self.get_finalized_command("build").build_temp).resolve() / "cmake"
        parts = [f"-DARVESSA_{part}=OFF" for part in ("APPS", "PLUGINS", "TESTS", "BENCH")]
        subprocess.run(["cmake", "--fresh", "-S", PROJECT, "-B", build, *parts,
                        "-DARVESSA_PYTHON=REQUIRED", "-DCMAKE_BUILD_TYPE=Release"], check=True)
        subprocess.run(["cmake", "--build", build, "--parallel", "--target", "arvessa_python"],
                       check=True)
        self.copy_file(str(build / "python/arvessa/_arvessa.so"), f"{self.build_lib}/arvessa")


class WheelForAnyPython(bdist_wheel):
    def get_tag(self):
        return "py3", "none", super().get_tag()[2]


class PlatformDistribution(Distribution):
    def has_ext_modules(self):
        return True


setup(version=VERSION, distclass=PlatformDistribution,
      cmdclass={"build_py": BuildWithCMake, "bdist_wheel": WheelForAnyPython})
