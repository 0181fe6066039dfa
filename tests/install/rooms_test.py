# SPDX-License-Identifier: Apache-2.0
"""The rooms of src/ and of the command: none can include what lies above it or beside it.

Environment: ARVESSA_SOURCE, the project; ARVESSA_BUILD, a build directory of it.
"""

import json
import os
import pathlib
import shlex
import subprocess
import unittest

SOURCE = pathlib.Path(os.environ["ARVESSA_SOURCE"])
COMMANDS = json.loads((pathlib.Path(os.environ["ARVESSA_BUILD"]) / "compile_commands.json")
                      .read_text(encoding="utf-8"))

# What each room may see besides itself.
LIBRARY = {
    "arithmetic": set(),
    "kernels": {"arithmetic"},
    "beamformer": {"kernels", "arithmetic"},
    "noise_reduction": {"kernels", "arithmetic"},
    "agc": {"kernels", "arithmetic"},
    "abi": {"beamformer", "noise_reduction", "agc", "kernels", "arithmetic"},
}
SHARED = {"beams": set(), "front_end": set()}  # by programs
COMMAND = {
    "audio_io": set(),
    "scene": {"audio_io"},
    "commands": {"scene", "audio_io"},
}


def can_include(room, header):
    """Whether the build's own command for a source of `room` finds `header`."""
    command = next(c["command"] for c in COMMANDS if pathlib.Path(c["file"]).parent == room)
    words = shlex.split(command)
    done = subprocess.run([*words[:words.index("-o")], "-E", "-x", "c++", "-"],
                          input=f'#include "{header}"\n', text=True, capture_output=True)
    missing = "No such file" in done.stderr or "file not found" in done.stderr
    if done.returncode != 0 and not missing:
        raise AssertionError(done.stderr)
    return done.returncode == 0


class Rooms(unittest.TestCase):
    def check(self, house, rooms):
        folders = {path.parent.name for path in house.glob("*/*.h")}
        self.assertEqual(folders, set(rooms), "every folder of sources is a room")
        for room, below in rooms.items():
            for other in rooms:
                header = sorted((house / other).glob("*.h"))[0]
                self.assertEqual(can_include(house / room, f"{other}/{header.name}"),
                                 other == room or other in below, f"{room} includes {other}")

    def test_of_the_library_and_of_what_programs_share(self):
        self.check(SOURCE / "src", LIBRARY)
        self.check(SOURCE / "apps", SHARED)

    @unittest.skipUnless("commands/" in str(COMMANDS), "built without the command")
    def test_of_the_command(self):
        self.check(SOURCE / "apps" / "arvessa", COMMAND)

    def test_no_include_leaves_a_room_by_a_path(self):
        for path in (*SOURCE.glob("src/**/*.*"), *SOURCE.glob("apps/**/*.*")):
            self.assertNotRegex(path.read_text(encoding="utf-8"), r'#include ".*\.\./', path)
