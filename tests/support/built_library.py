# SPDX-License-Identifier: Apache-2.0
"""What a built library of any machine and byte order shows to a linker, as readelf prints it."""

import pathlib
import re
import subprocess

SOURCE = pathlib.Path(__file__).resolve().parents[2]
EXPORTS = set((SOURCE / "src/abi/exports.txt").read_text().split())
LOG_FUNCTION = "__android_log_print"


def run(*command, **options):
    command = [str(word) for word in command]
    done = subprocess.run(command, text=True, capture_output=True, **options)
    if done.returncode != 0:
        raise AssertionError(f"{' '.join(command)}\n{done.stdout}{done.stderr}")
    return done.stdout


class BuiltLibrary:
    def __init__(self, path):
        self.path = path
        self.dynamic = self.readelf("--dynamic")

    def readelf(self, *options):
        return run("readelf", "--wide", *options, self.path)

    def entries(self, tag):
        return re.findall(rf"\({tag}\).*\[(.*)\]", self.dynamic)

    def symbols(self, defined):
        """{name: (type, binding)} of the dynamic symbols that are defined here, or that are not."""
        # number: value size type binding visibility section name[@version]; other columns may follow
        # the visibility. Local ones are of sections.
        line = r"^ *\d+: \S+ +\S+ (\S+) +(\S+) +\S+ +(?:\[.*\] +)?(\S+) ([^\s@]+)"
        found = re.findall(line, self.readelf("--dyn-syms"), re.MULTILINE)
        return {name: (kind, binding) for kind, binding, section, name in found
                if binding != "LOCAL" and (section != "UND") == defined}

    def loading_code(self):
        """What would run or be written when the library is loaded."""
        return re.findall(r"TEXTREL|\((?:INIT|FINI)(?:_ARRAY)?\)", self.dynamic)

    def writable_sections(self):
        """Those of some size."""
        sections = re.findall(r"\] (\.[\w.]+) +\w+ +\w+ \w+ (\w+)", self.readelf("--sections"))
        assert ".text" in dict(sections)
        return [name for name, size in sections if int(size, 16) > 0
                and name in (".data", ".bss", ".tdata", ".tbss", ".data.rel.ro")]
