# SPDX-License-Identifier: Apache-2.0
"""STOI, the short-time objective intelligibility measure.

C. H. Taal, R. C. Hendriks, R. Heusdens and J. Jensen, "An algorithm for intelligibility prediction
of time-frequency weighted noisy speech", IEEE Transactions on Audio, Speech, and Language
Processing 19(7), 2011. It correlates the envelopes of speech and processed speech in third-octave
bands over 384 ms: 1 for the speech itself, near 0 for what has nothing to do with it.
"""
import math

import numpy as np
from scipy.fft import rfft
from scipy.signal import resample_poly

RATE = 10000         # Hz
FRAME = 256          # samples, Hann window, half overlapping
HOP = FRAME // 2
TRANSFORM = 512      # points
BANDS = 15           # of a third of an octave
LOWEST_CENTRE = 150  # Hz
SEGMENT = 30         # frames: 384 ms
CLIP_DB = -15        # lower bound of the signal-to-distortion ratio
SILENCE_DB = -40     # frames of the speech below this, relative to the loudest, are left out

WINDOW = np.hanning(FRAME + 2)[1:-1]
EPSILON = np.finfo(float).eps


def band_edges():
    """Lower and upper edges in Hz; the centres lie between them by 1/6 of an octave."""
    centres = LOWEST_CENTRE * 2 ** (np.arange(BANDS) / 3)
    return centres * 2 ** (-1 / 6), centres * 2 ** (1 / 6)


def band_matrix():
    """1 for the bins of a band: (bands, bins). Edges fall on the nearest bin."""
    bins = np.arange(TRANSFORM // 2 + 1)
    low, high = (np.round(edges * TRANSFORM / RATE) for edges in band_edges())
    return ((bins >= low[:, None]) & (bins < high[:, None])).astype(float)


BAND_MATRIX = band_matrix()


def frames_of(x):
    return np.lib.stride_tricks.sliding_window_view(x, FRAME)[:-1:HOP] * WINDOW


def without_silence(frames, active):
    """The active frames, overlapped and added to a signal without the others."""
    kept = frames[active]
    joined = np.zeros(len(kept) * HOP + HOP)
    joined[:-HOP].reshape(-1, HOP)[:] += kept[:, :HOP]
    joined[HOP:].reshape(-1, HOP)[:] += kept[:, HOP:]
    return joined


def envelopes(x):
    """Of the bands, in frames: (bands, frames)."""
    bins = rfft(frames_of(x), TRANSFORM)
    return np.sqrt(BAND_MATRIX @ (bins.real**2 + bins.imag**2).T)


def at_stoi_rate(x, rate):
    common = math.gcd(rate, RATE)
    return resample_poly(np.asarray(x, float), RATE // common, rate // common)


class Stoi:
    """Compares with one speech signal as often as needed."""

    def __init__(self, speech, rate):
        self.rate = rate
        self.length = len(speech)
        frames = frames_of(at_stoi_rate(speech, rate))
        level = 20 * np.log10(np.linalg.norm(frames, axis=1) + EPSILON)
        self.active = level > level.max() + SILENCE_DB
        segments = self._segments(frames)
        self.norms = np.linalg.norm(segments, axis=-1)
        self.bound = segments * (1 + 10 ** (-CLIP_DB / 20))
        target = segments - segments.mean(axis=-1, keepdims=True)
        self.target = target / (np.linalg.norm(target, axis=-1, keepdims=True) + EPSILON)

    def _segments(self, frames):
        """All segments of all bands: (bands, segments, frames)."""
        bands = envelopes(without_silence(frames, self.active))
        if bands.shape[1] < SEGMENT:
            raise ValueError(f"STOI needs {SEGMENT} frames with speech, here are {bands.shape[1]}")
        return np.lib.stride_tricks.sliding_window_view(bands, SEGMENT, axis=1)

    def __call__(self, processed):
        """The measure of `processed`, which has the rate and the length of the speech."""
        if len(processed) != self.length:
            raise ValueError(f"{len(processed)} samples to compare with {self.length}")
        segments = self._segments(frames_of(at_stoi_rate(processed, self.rate)))
        squares = np.einsum("bsf,bsf->bs", segments, segments)
        scale = self.norms / (np.sqrt(squares) + EPSILON)
        clipped = np.minimum(segments * scale[..., None], self.bound)
        # The correlation with a target that has no mean and the length 1.
        product = np.einsum("bsf,bsf->bs", self.target, clipped)
        power = np.einsum("bsf,bsf->bs", clipped, clipped) - clipped.sum(axis=-1) ** 2 / SEGMENT
        return float(np.mean(product / (np.sqrt(np.maximum(power, 0)) + EPSILON)))
