# SPDX-License-Identifier: Apache-2.0
"""Tables of the grid, as lines of Markdown."""
import numpy as np

from grid import (BEAMS_AT, BETWEEN, HEARD, RIGHT, RIGHT_BEAMS, VOICE, WAIT,
                  mean_and_interval)
from scenes import NOISES, POINT_SOURCE_DEGREES
from systems import SYSTEMS

SNR = 5  # dB, where a table has one only
NOISE_NAMES = {"fan": "fan", "white": "white", "babble": "babble",
               "point": f"fan, half from {POINT_SOURCE_DEGREES}°"}
MEASURES = {"snri": ("SNR improvement, dB", 1), "noise": ("noise level, dB", 1),
            "dsn": ("DSN, dB", 1), "speech": ("speech level, dB", 1), "stoi": ("STOI", 3)}


def table(head, rows):
    lines = ["| " + " | ".join(map(str, cells)) + " |" for cells in (head, *rows)]
    return [lines[0], "|" + "---|" * len(head), *lines[1:]]


def number(value, digits, signed=False):
    # Adding 0 turns -0.0 into 0.0.
    return f"{round(float(value), digits) + 0:{'+' if signed else ''}.{digits}f}"


def shown(values, digits):
    mean, half = mean_and_interval(values)
    return f"{number(mean, digits)} ± {number(half, digits)}"


def percent(values):
    return shown(100 * np.asarray(values), 0) + " %"


def overview(grid):
    """For the README: means only, and how exact they are."""
    columns = [*(("snri", {"noise": noise}, 1) for noise in NOISES),
               *(("stoi", {"talker": talkers}, 2) for talkers in (BEAMS_AT, BETWEEN))]
    head = ["", *NOISE_NAMES.values(), "STOI, talker at 0°, 90°, 180°", "at 45°, 135°"]
    head[1] = f"SNR improvement, dB: {head[1]}"
    rows, halves = [], {"snri": 0, "stoi": 0}
    for system in SYSTEMS:
        row = [system]
        for measure, where, digits in columns:
            mean, half = mean_and_interval(grid.by_seed(measure, system, snr=SNR, **where))
            halves[measure] = max(halves[measure], half)
            row.append(number(mean, digits))
        rows.append(row)
    return [*table(head, rows), "",
            f"Confidence intervals (95 %) over the seeds are at most ±{halves['snri']:.1f} dB and "
            f"±{halves['stoi']:.3f}."]


def by_noise(grid):
    lines = []
    for noise, name in NOISE_NAMES.items():
        head = (f"{name}, {SNR} dB", *(title for title, _ in MEASURES.values()))
        lines += [*table(head, ((system, *(shown(grid.by_seed(key, system, noise=noise, snr=SNR),
                                                 digits)
                                           for key, (_, digits) in MEASURES.items()))
                                for system in SYSTEMS)), ""]
    return lines[:-1]


def by_snr(grid):
    lines = []
    for measure, system, talkers, title in (
            ("snri", "all", BEAMS_AT, "all, talker at 0°, 90°, 180°: SNR improvement, dB"),
            ("snri", "all", BETWEEN, "all, at 45°, 135°: SNR improvement, dB"),
            ("stoi", "microphone 1", (*BEAMS_AT, *BETWEEN), "microphone 1: STOI"),
            ("stoi", "all", BEAMS_AT, "all, talker at 0°, 90°, 180°: STOI"),
            ("stoi", "all", BETWEEN, "all, at 45°, 135°: STOI")):
        head = (title, *(f"{snr} dB" for snr in grid.axes["snr"]))
        lines += [*table(head, ((name, *(shown(grid.by_seed(measure, system, noise=noise, snr=snr,
                                                            talker=talkers),
                                               MEASURES[measure][1])
                                         for snr in grid.axes["snr"]))
                                for noise, name in NOISE_NAMES.items())), ""]
    return lines[:-1]


def rise_of_stoi(grid, system, **where):
    return (grid.by_seed("stoi", system, **where)
            - grid.by_seed("stoi", "microphone 1", **where))


def by_voice(grid):
    head = (f"{SNR} dB", "all: SNR improvement, dB", "STOI of microphone 1", "rise of STOI, all")
    return table(head, ((f"{voice}, {name}",
                         shown(grid.by_seed("snri", "all", voice=voice, noise=noise, snr=SNR), 1),
                         shown(grid.by_seed("stoi", "microphone 1", voice=voice, noise=noise,
                                            snr=SNR), 3),
                         shown(rise_of_stoi(grid, "all", voice=voice, noise=noise, snr=SNR), 3))
                        for voice in grid.axes["voice"]
                        for noise, name in NOISE_NAMES.items()))


def by_direction(grid):
    head = ("talker at", "noise", "on a right beam", "until a right beam, s",
            "beamformer: SNR improvement, dB", "all: SNR improvement, dB",
            "beamformer: rise of STOI", "all: rise of STOI")
    rows = []
    for talker in RIGHT_BEAMS:
        for noise, name in NOISE_NAMES.items():
            where = {"talker": talker, "noise": noise, "snr": SNR}
            rows.append((f"{talker}°", name, percent(grid.decisions_by_seed(RIGHT, **where)),
                         shown(grid.decisions_by_seed(WAIT, **where), 2),
                         shown(grid.by_seed("snri", "beamformer", **where), 1),
                         shown(grid.by_seed("snri", "all", **where), 1),
                         shown(rise_of_stoi(grid, "beamformer", **where), 3),
                         shown(rise_of_stoi(grid, "all", **where), 3)))
    return table(head, rows)


def voice_decision(grid):
    lines = []
    for title, cell in (
            ("frames with speech that count as voice",
             lambda **where: percent(grid.decisions_by_seed(VOICE, **where))),
            ("talks without any voice",
             lambda **where: percent(1 - grid.decisions_by_seed(HEARD, **where))),
            ("all: speech level, dB",
             lambda **where: shown(grid.by_seed("speech", "all", **where), 1))):
        head = (title, *(f"{snr} dB" for snr in grid.axes["snr"]))
        lines += [*table(head, ((name, *(cell(noise=noise, snr=snr) for snr in grid.axes["snr"]))
                                for noise, name in NOISE_NAMES.items())), ""]
    return lines[:-1]


TABLES = {"overview": overview, "by noise": by_noise, "by SNR": by_snr, "by voice": by_voice,
          "by direction": by_direction, "voice": voice_decision}
