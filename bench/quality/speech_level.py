# SPDX-License-Identifier: Apache-2.0
"""Active speech level, ITU-T P.56, method B: the level of speech without its pauses."""
import numpy as np
from scipy.signal import lfilter

TIME_CONSTANT = 0.03  # seconds, of each of two exponential averages
HANGOVER = 0.2        # seconds for which speech counts as active after it fell below a threshold
MARGIN_DB = 15.9      # of the level above the threshold that tells speech from pauses
THRESHOLDS = 2.0 ** np.arange(-15, 1)  # of full scale 1

FLOOR = 1e-12  # power


def decibels(power):
    return 10 * np.log10(np.maximum(power, FLOOR))


def active_level(x, rate):
    """dB relative to full scale 1 (dBov), and the share of the time that is active.

    x: samples of full scale 1. Silence gives -120 dB and 0.
    """
    x = np.asarray(x, float)
    keep = np.exp(-1 / (rate * TIME_CONSTANT))
    envelope = np.abs(x)
    for _ in range(2):
        envelope = lfilter([1 - keep], [1, -keep], envelope)
    hangover = round(HANGOVER * rate)
    place = np.arange(len(x))
    energy = np.sum(x**2)

    above = None  # threshold and level in dB, of the threshold before
    for threshold in THRESHOLDS:
        latest = np.maximum.accumulate(np.where(envelope >= threshold, place, -hangover - 1))
        active = np.count_nonzero(place - latest <= hangover)
        if active == 0:
            break
        level, at = decibels(energy / active), 20 * np.log10(threshold)
        if level - at <= MARGIN_DB:
            if above is not None:
                # Between two thresholds both run straight in dB.
                over, under = above[1] - above[0] - MARGIN_DB, level - at - MARGIN_DB
                level = above[1] + (level - above[1]) * over / (over - under)
            return float(level), float(energy / len(x) / 10 ** (level / 10))
        above = at, level
    return float(decibels(0)), 0.0
