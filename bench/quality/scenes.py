# SPDX-License-Identifier: Apache-2.0
"""Scenes of two microphones, made by `arvessa scene`."""
import os
import subprocess
from functools import lru_cache
from pathlib import Path

import numpy as np

from voices import talk, write_wave

COMMAND = os.environ["ARVESSA_COMMAND"]
FOLDER = Path(os.environ["ARVESSA_QUALITY"])  # for files that can be made again

# The kinds of noise, as options of the command. The point source gives half of the noise.
POINT_SOURCE_DEGREES = 180
NOISES = {"fan": ("--noise", "fan"), "white": ("--noise", "white"),
          "babble": ("--noise", "babble"),
          "point": ("--noise", "fan", "--noise-from", str(POINT_SOURCE_DEGREES))}
NO_NOISE = ("--noise", "none")


@lru_cache(maxsize=None)
def talk_file(voice, rate, *lead_and_level):
    """A talk as a file, written once; processes that write it at the same time write the same."""
    FOLDER.mkdir(parents=True, exist_ok=True)
    name = "_".join(map(str, (voice, rate, *lead_and_level))).replace(" ", "_")
    path = FOLDER / f"{name}.wav"
    if not path.exists():
        part = path.with_suffix(f".{os.getpid()}")
        write_wave(part, talk(voice, rate, *lead_and_level), rate)
        part.replace(path)
    return path


def scene(speech, noise, talker=90, snr=0, seed=1):
    """Both microphones: int16 (samples, 2) at the rate of the file `speech`.

    noise:  options of the command, as in NOISES
    """
    options = [*noise, "--talker", str(talker), "--snr", str(snr), "--seed", str(seed), "--quiet"]
    made = subprocess.run([COMMAND, "scene", str(speech), "-o", "-", *options], check=True,
                          stdout=subprocess.PIPE)
    return np.frombuffer(made.stdout, "<i2").reshape(-1, 2).astype(np.int16)


@lru_cache(maxsize=64)
def speech_alone(speech, talker):
    """What the microphones hear of the talker without noise."""
    return scene(speech, NO_NOISE, talker)
