# SPDX-License-Identifier: Apache-2.0
"""Recordings as NumPy arrays."""

import numpy as np
from commands import SPEECH, arvessa, read_wav, write_wav


def read(path):
    _, channels, data = read_wav(path)
    samples = np.frombuffer(data, np.int16).copy()
    return samples.reshape(-1, channels) if channels > 1 else samples


def write(path, samples, rate=8000):
    return write_wav(path, samples.tobytes(), rate, samples.ndim)


def scene(path):
    """A talker in noise, 7.1 s; int16 (samples, 2)."""
    arvessa("scene", SPEECH, "--talker", 90, "--noise", "babble", "--snr", 5, "--rate", 8000,
            "-o", path)
    return read(path)
