# SPDX-License-Identifier: Apache-2.0
"""The examples of the help texts, and the man page and the completion for bash, which read them."""

import os
import pathlib
import re
import subprocess
import unittest

from commands import COMMAND, SOURCE, SPEECH, CommandTest

COMPLETION = pathlib.Path(__file__).parents[2] / "apps/arvessa/help/completion.bash"
PAGE = pathlib.Path(COMMAND).with_name("arvessa.1")
COMMANDS = ["enhance", "engine", "scene", "trace", "beams", "info"]


class Help(CommandTest):
    def options(self, command):
        text = self.run_command(command, "--help").stdout.decode()
        return re.findall(r"^  (?:-\w,)?(--[\w-]+)", text, re.MULTILINE)

    def test_examples_run_as_printed(self):
        for folder in ("bin", "recordings"):
            os.mkdir(folder)
        os.symlink(COMMAND, "bin/arvessa")
        for name, script in (("arecord", "case $* in *wav) cat;; *) tail -c +45;; esac <noisy.wav"),
                             ("aplay", "cat >played && test -s played")):
            self.store(f"bin/{name}", f"#!/bin/bash\n{script}\n".encode())
            os.chmod(f"bin/{name}", 0o755)
        os.symlink(SPEECH, "speech.wav")
        os.symlink(SPEECH, "call.wav")
        for name in os.listdir(SOURCE):  # for the one that configures a build
            if name != "build":
                os.symlink(SOURCE / name, name)
        environment = {**os.environ, "PATH": f"{self.directory}/bin:{os.environ['PATH']}"}
        for command in ([], *([command] for command in COMMANDS)):
            text = self.run_command(*command, "--help").stdout.decode()
            examples = re.search(r"\nExamples?:\n((?:  .*\n)+)", text)[1].replace("COMMAND", "trace")
            done = subprocess.run(["bash", "-euo", "pipefail", "-c", examples], env=environment,
                                  cwd=self.directory, capture_output=True, text=True)
            self.assertEqual(done.returncode, 0, examples + done.stderr)
            if not command:
                os.link("noisy.wav", "recordings/one.wav")
        for name in ("clean.png", "clean/one.wav", "clean.flac", "quiet/call.wav", "decisions.csv",
                     "build/CMakeCache.txt", "played"):
            self.assertTrue(self.content(name))

    def complete(self, *words):
        script = ('source "$1"; COMP_WORDS=("${@:2}"); COMP_CWORD=$(($# - 2)); '
                  '_arvessa "$2"; printf "%s\\n" "${COMPREPLY[@]}"')
        done = subprocess.run(["bash", "-uc", script, "-", COMPLETION, COMMAND, *words],
                              capture_output=True, text=True, check=True)
        self.assertEqual(done.stderr, "")
        return done.stdout.split()

    def test_completion(self):
        self.assertEqual(self.complete(""), [*COMMANDS, "help", "--help", "--version"])
        self.assertEqual(self.complete("en"), ["enhance", "engine"])
        self.assertEqual(self.complete("help", "en"), ["enhance", "engine"])
        self.assertEqual(self.complete("engine", "in.wav", "--no"), ["--no-nr", "--no-agc"])
        for command in COMMANDS:
            self.assertEqual(self.complete(command, "-"), self.options(command))
        # Nothing of ours, and then file names.
        self.assertEqual(self.complete("enhance", "no"), [])
        registered = subprocess.run(["bash", "-c", f'source "{COMPLETION}"; complete -p arvessa'],
                                    capture_output=True, text=True, check=True).stdout
        self.assertIn("-o default", registered)
        self.assertEqual(self.complete("nonsense", "--no"), [])

    @unittest.skipUnless(PAGE.exists(), "built without help2man")
    def test_man_page(self):
        done = subprocess.run(["man", "--warnings", "--local-file", PAGE], capture_output=True,
                              env={**os.environ, "LC_ALL": "C.UTF-8", "MANWIDTH": "100"}, text=True)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertRegex(done.stdout, r"arvessa - clean speech")
        sections = re.split(r"^(\S.*)\n", done.stdout, flags=re.MULTILINE)
        for command in COMMANDS:
            section = sections[sections.index(f"ARVESSA {command.upper()}") + 1]
            for option in self.options(command):
                self.assertRegex(section, rf"(?m)^ +(-\w,)?{option}\b")
