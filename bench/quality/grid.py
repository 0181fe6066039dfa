# SPDX-License-Identifier: Apache-2.0
"""The grid of scenes: every voice, direction, kind of noise, SNR and seed, through every system."""
from dataclasses import dataclass
from functools import lru_cache
from itertools import product

import arvessa
import numpy as np
from scipy.stats import t as student

from scenes import NOISES, scene, speech_alone, talk_file
from stoi import Stoi
from suppression_measures import class_powers, classify, measures
from systems import SYSTEMS
from voices import RECORDED, VOICES

RATE = 8000
SETTLED = 200     # frames: what the suppression does is measured from here on
BEAMS_AT = (0, 90, 180)  # degrees
BETWEEN = (45, 135)
RIGHT_BEAMS = {0: (0,), 45: (0, 1), 90: (1,), 135: (1, 2), 180: (2,)}  # by direction of the talker

FULL = {"voice": VOICES, "talker": tuple(RIGHT_BEAMS), "noise": tuple(NOISES),
        "snr": (-5, 0, 5, 10, 15, 20), "seed": (1, 2, 3, 4, 5)}
QUICK = {"voice": (RECORDED,), "talker": (0,), "noise": ("fan",), "snr": (5,), "seed": (1, 2)}


@lru_cache(maxsize=2)
def target(voice, talker):
    """What a scene's speech alone tells: the measure to compare with, and the frames' classes."""
    speech = speech_alone(talk_file(voice, RATE), talker)[:, 0]
    return Stoi(speech, RATE), classify(speech / 32768, RATE)


# Columns of `decisions`.
RIGHT, WAIT, VOICE, HEARD = range(4)


def decisions(x, classes, talker):
    """What the front end decides in a scene.

    RIGHT  share of the frames with speech that are on a right beam
    WAIT   seconds from the first word to a right beam; all that is left if there is none
    VOICE  share of the frames with speech that count as voice
    HEARD  1 if any frame of the scene counts as voice, else 0
    """
    trace = arvessa.trace(x)[:len(classes)]
    speech = (classes >= 0) & (classes < 3)
    right = np.isin(trace.beam, RIGHT_BEAMS[talker])
    after = right[np.argmax(speech):]
    wait = np.argmax(after) if after.any() else len(after)
    return np.array([np.mean(right[speech]), 0.01 * wait, np.mean(trace.voice[speech]),
                     np.any(trace.voice)])


def measured(cell):
    """STOI (systems,), class powers (systems, 2, 4), and `decisions` of one scene."""
    voice, talker, noise, snr, seed = cell
    stoi, classes = target(voice, talker)
    x = scene(talk_file(voice, RATE), NOISES[noise], talker, snr, seed)
    outputs = [system(x) for system in SYSTEMS.values()]
    return (np.array([stoi(y) for y in outputs]),
            np.array([class_powers(y / 32768, RATE, classes, SETTLED) for y in outputs]),
            decisions(x, classes, talker))


@dataclass
class Grid:
    """Results in arrays whose first axes are those of `axes`."""

    axes: dict
    stoi: np.ndarray  # ..., system
    powers: np.ndarray  # ..., system, sums and numbers, class
    decisions: np.ndarray  # ..., column

    def _part(self, array, where):
        """The cells that `where` allows, a value or a tuple of them for an axis: seeds first, all
        other axes of scenes in one."""
        for axis, (name, values) in enumerate(self.axes.items()):
            if name in where:
                wanted = where[name] if isinstance(where[name], tuple) else (where[name],)
                array = array.take([values.index(value) for value in wanted], axis)
        array = np.moveaxis(array, list(self.axes).index("seed"), 0)
        return array.reshape(array.shape[0], -1, *array.shape[len(self.axes):])

    def by_seed(self, measure, system, **where):
        """An array with the value for each seed: "stoi", or a name of `measures`."""
        index = list(SYSTEMS).index(system)
        if measure == "stoi":
            return self._part(self.stoi, where)[:, :, index].mean(axis=1)
        powers = self._part(self.powers, where).sum(axis=1)
        return np.array([measures(seed[0], seed[index])[measure] for seed in powers])

    def decisions_by_seed(self, column, **where):
        """An array with the mean of a column of `decisions` for each seed."""
        return self._part(self.decisions, where)[:, :, column].mean(axis=1)


def mean_and_interval(values):
    """Mean, and half of the interval that holds it with a confidence of 95 %, after Student."""
    values = np.asarray(values, float)
    if len(values) < 2:
        return float(np.mean(values)), float("nan")
    error = np.std(values, ddof=1) / np.sqrt(len(values))
    return float(np.mean(values)), float(error * student.ppf(0.975, len(values) - 1))


def run(axes, pool):
    cells = list(product(*axes.values()))
    parts = zip(*pool.map(measured, cells))
    shape = tuple(map(len, axes.values()))
    return Grid(axes, *(np.array(part).reshape(*shape, *part[0].shape) for part in parts))
