# SPDX-License-Identifier: Apache-2.0
"""What tests share: running the command, and recordings as lists of samples."""

import array
import contextlib
import math
import operator
import os
import pathlib
import random
import subprocess
import sys
import tempfile
import unittest
import wave

COMMAND = os.environ["ARVESSA_COMMAND"]
SOURCE = pathlib.Path(__file__).resolve().parents[2]
SPEECH = str(SOURCE / "audio/speech_female_16k.wav")


def arvessa(*arguments):
    subprocess.run([COMMAND, *map(str, arguments), "--quiet"], check=True, timeout=300)


def read_wav(path):
    """Rate, channels, samples as bytes."""
    with wave.open(str(path)) as file:
        return file.getframerate(), file.getnchannels(), file.readframes(file.getnframes())


def write_wav(path, samples, rate=8000, channels=1):
    with wave.open(str(path), "wb") as file:
        file.setparams((channels, 2, rate, 0, "NONE", ""))
        file.writeframes(samples)
    return path


def pcm(data):
    samples = array.array("h", data)
    if sys.byteorder == "big":
        samples.byteswap()
    return samples


def level(samples):
    return 10 * math.log10(sum(map(operator.mul, samples, samples)) / len(samples) / 32768**2 + 1e-10)


def active_level(samples, rate):
    blocks = [samples[n : n + rate // 50] for n in range(0, len(samples), rate // 50)]
    powers = [sum(s * s for s in block) / len(block) for block in blocks]
    active = [power for power in powers if power >= max(powers) / 1000]
    return 10 * math.log10(sum(active) / len(active) / 32768**2)


def lag(late, early, reach):
    """By how many samples `late` lags `early`, searched within +-reach."""
    middle = early[reach : len(early) - reach]

    def likeness(shift):
        return sum(map(operator.mul, middle, late[reach + shift : reach + shift + len(middle)]))

    return max(range(-reach, reach + 1), key=likeness)


def noise(count, seed=1, amplitude=3000):
    generator = random.Random(seed)
    return [int(generator.gauss(0, amplitude)) for _ in range(count)]


class CommandTest(unittest.TestCase):
    """In an empty folder."""

    def setUp(self):
        self.directory = self.enterContext(tempfile.TemporaryDirectory())
        self.enterContext(contextlib.chdir(self.directory))

    def content(self, name):
        return pathlib.Path(name).read_bytes()

    def run_command(self, *arguments, code=0, **options):
        options = {"stdout": subprocess.PIPE, "stderr": subprocess.PIPE, "timeout": 120, **options}
        done = subprocess.run([COMMAND, *map(str, arguments)], **options)
        self.assertEqual(done.returncode, code, done.stderr.decode())
        return done

    def write(self, name, channels, rate=8000):
        interleaved = array.array("h", [sample for frame in zip(*channels) for sample in frame])
        return write_wav(name, interleaved.tobytes(), rate, len(channels))

    def store(self, name, data):
        pathlib.Path(name).write_bytes(data)
        return name

    def read(self, name, rate=8000, channels=1):
        *found, data = read_wav(name)
        self.assertEqual(found, [rate, channels])
        samples = list(array.array("h", data))
        return samples if channels == 1 else [samples[c::channels] for c in range(channels)]

    def scene(self, *arguments, speech=SPEECH):
        """A scene of 8 kHz as two lists; its file is scene.wav."""
        self.run_command("scene", speech, "--rate", 8000, "-o", "scene.wav", *arguments)
        return self.read("scene.wav", channels=2)
