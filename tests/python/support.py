# SPDX-License-Identifier: Apache-2.0
"""What the tests of the Python package share.

Environment: PYTHONPATH with the package; ARVESSA_COMMAND, the command.
"""

import os
import subprocess
import wave
from pathlib import Path

import numpy as np

COMMAND = os.environ["ARVESSA_COMMAND"]
SOURCE = Path(__file__).resolve().parents[2]
SPEECH = SOURCE / "audio" / "speech_female_16k.wav"


def arvessa(*arguments):
    subprocess.run([COMMAND, *map(str, arguments), "--quiet"], check=True, timeout=300)


def read(path):
    with wave.open(str(path)) as file:
        samples = np.frombuffer(file.readframes(file.getnframes()), "<i2").astype(np.int16)
        return samples.reshape(-1, file.getnchannels()) if file.getnchannels() > 1 else samples


def write(path, samples, rate=8000):
    with wave.open(str(path), "wb") as file:
        file.setparams((samples.ndim, 2, rate, 0, "NONE", ""))
        file.writeframes(samples.astype("<i2").tobytes())
    return path


def scene(path):
    """A talker in noise, 7.1 s; int16 (samples, 2)."""
    arvessa("scene", SPEECH, "--talker", 90, "--noise", "babble", "--snr", 5, "--rate", 8000,
            "-o", path)
    return read(path)
