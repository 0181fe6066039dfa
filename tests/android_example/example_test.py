# SPDX-License-Identifier: Apache-2.0
"""The example for Android on this machine: the same samples as the command.

Environment: ARVESSA_COMMAND, the command; ARVESSA_EXAMPLE, the program that reads and writes raw
samples, with its arguments; PYTHONPATH with the support of the command's tests.
"""

import os
import shlex
import subprocess

from commands import CommandTest, pcm


class Example(CommandTest):
    def test_same_samples_as_the_command(self):
        left, right = self.scene()
        frames = len(left) // 80
        interleaved = [sample for pair in zip(left, right) for sample in pair][:frames * 160]
        data = b"".join(sample.to_bytes(2, "little", signed=True) for sample in interleaved)
        expected = self.run_command("enhance", "-", "--raw", "--keep-delay", "-o", "-", input=data)
        done = subprocess.run(shlex.split(os.environ["ARVESSA_EXAMPLE"]), input=data,
                              capture_output=True, timeout=100)
        self.assertEqual(done.returncode, 0, done.stderr.decode())
        self.assertIn(done.stderr, (b"", b"released"))
        self.assertEqual(pcm(done.stdout), pcm(expected.stdout)[:frames * 80])
