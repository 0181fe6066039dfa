# SPDX-License-Identifier: Apache-2.0
"""Tables of the other cases, as lines of Markdown."""
import numpy as np

import cases
from grid import RIGHT, RIGHT_BEAMS, WAIT
from grid_tables import MEASURES, NOISE_NAMES, number, percent, shown, table
from speech_level import decibels
from suppression_measures import measures
from voices import VOICES

FRAMES_A_SECOND = 100
SMOOTHING = 30     # frames
SETTLED_DB = 2     # within this of the last value
TONE_REMOVED_DB = 10


def chosen(name, results, *beginning):
    """The results of the cases whose arguments begin like this."""
    keep = [index for index, case in enumerate(cases.CASES[name][1])
            if case[:len(beginning)] == beginning]
    return results[name][keep]


def seeds_of(part, voices=len(VOICES)):
    """(cases, ...) to (seeds, voices, ...), where seeds are the last argument, voices before."""
    return np.moveaxis(part.reshape(voices, -1, *part.shape[1:]), 1, 0)


def pooled(powers, system):
    """The measures of each seed: `powers` are (seeds, voices, systems, 2, 4)."""
    sums = powers.sum(axis=1)
    return [measures(seed[0], seed[system]) for seed in sums]


def start(results):
    head = ("before the first word", "noise, SNR", "level of the first second, dBFS: microphone 1",
            "all", "all, no AGC", "peak, dBFS: all", "all, no AGC", "until the right beam, s")
    rows = []
    for lead in cases.START_LEADS:
        for noise, name in NOISE_NAMES.items():
            for snr in cases.START_SNRS:
                part = seeds_of(chosen("start", results, lead, noise, snr))
                first = decibels(part[..., :FRAMES_A_SECOND].mean(axis=(1, 3)))
                peaks = 20 * np.log10(part[..., cases.START_FRAMES].max(axis=1))
                rows.append((f"{lead} s of noise", f"{name}, {snr} dB",
                             *(shown(first[:, system], 1) for system in range(3)),
                             *(shown(peaks[:, system], 1) for system in (1, 2)),
                             shown(part[..., 0, cases.START_FRAMES + 1].mean(axis=1), 2)))
    return table(head, rows)


def smoothed(powers):
    """Running means along the last axis; its length stays."""
    kernel = np.ones(SMOOTHING) / SMOOTHING
    return np.apply_along_axis(lambda row: np.convolve(row, kernel, "same"), -1, powers)


def gain_over_time(part):
    """dB, of (..., before and after, frames)."""
    mean = smoothed(part)
    return decibels(mean[..., 1, :]) - decibels(mean[..., 0, :])


def seconds_until_settled(gain):
    """Until `gain` stays within SETTLED_DB of its mean over the last second."""
    gain = gain[:len(gain) - SMOOTHING]
    away = np.abs(gain - gain[-FRAMES_A_SECOND:].mean()) > SETTLED_DB
    return (np.flatnonzero(away)[-1] + 1 if away.any() else 0) / FRAMES_A_SECOND


def change(results):
    half = cases.STEP_SECONDS * FRAMES_A_SECOND
    rows = []
    for noise in cases.FOLLOWED:
        part = chosen("change", results, noise)
        # Each half by itself: smoothing must not mix them.
        halves = [gain_over_time(part[..., :half]), gain_over_time(part[..., half:])]
        rows.append((NOISE_NAMES[noise],
                     *(shown([f(gain) for gain in gains], digits) for gains in halves
                       for f, digits in ((seconds_until_settled, 1),
                                         (lambda gain: gain[-200:-SMOOTHING].mean(), 1)))))
    lines = table(("noise", "from the start until settled, s", "then, dB",
                   f"after a step of +{cases.STEP_DB} dB until settled, s", "then, dB"), rows)
    rows = []
    for tone in cases.TONES:
        part = chosen("change", results, tone)[..., cases.TONE_BEGIN * FRAMES_A_SECOND:]
        gain = decibels(part[:, 1]) - decibels(part[:, 0])
        removed = np.argmax(gain < -TONE_REMOVED_DB, axis=1) / FRAMES_A_SECOND
        rows.append((f"{tone} Hz", shown(gain[:, :50].mean(axis=1), 1), shown(removed, 1),
                     shown(gain[:, -100:].mean(axis=1), 1)))
    return [*lines, "", *table(("tone", "its level in the first half second, dB",
                                f"until it is {TONE_REMOVED_DB} dB down, s", "at the end, dB"),
                               rows)]


def direction(results):
    lines = []
    for geometry in cases.GEOMETRIES:
        head = (f"{geometry}, talker at", "level, dB", "beam to 0°", "to 90°", "to 180°",
                f"STOI at {cases.QUIET_SNR} dB: microphone 1", "beamformer", "nearest beam held")
        rows = []
        for talker in cases.DIRECTIONS[::3]:
            level, *others = chosen("direction", results, geometry, talker).mean(axis=0)
            rows.append((f"{talker}°", number(level, 1, signed=True),
                         *(f"{100 * share:.0f} %" for share in others[:3]),
                         *(number(stoi, 3) for stoi in others[3:])))
        lines += [*table(head, rows), ""]
    return lines[:-1]


def rival(results):
    head = ("talker at", *(f"{snr} dB" for snr in cases.RIVAL_SNRS))
    lines = []
    for column, title, show in ((RIGHT, "frames with speech on a right beam", percent),
                                (WAIT, "seconds from the first word to it",
                                 lambda values: shown(values, 2))):
        rows = ((f"{talker}°",
                 *(show(seeds_of(chosen("rival", results, talker, snr))[..., column].mean(axis=1))
                   for snr in cases.RIVAL_SNRS)) for talker in RIGHT_BEAMS)
        lines += [*table((title + ": " + head[0], *head[1:]), rows), ""]
    return lines[:-1]


def held(results):
    head = ("talker at", "noise", "changes of the beam, a second",
            "SNR improvement, dB: as it is", "beam held", "noise level, dB: as it is", "beam held",
            "STOI: as it is", "beam held")
    rows = []
    for talker in cases.HELD_BEAMS:
        for noise, name in NOISE_NAMES.items():
            part = seeds_of(chosen("held", results, talker, noise))
            powers = part[..., 1:9].reshape(*part.shape[:3], 2, 4)
            found = [pooled(powers, system) for system in (1, 2)]
            rows.append((f"{talker}°", name, shown(part[:, :, 0, 9].mean(axis=1), 1),
                         *(shown([seed[key] for seed in one], 1)
                           for key in ("snri", "noise") for one in found),
                         *(shown(part[:, :, system, 0].mean(axis=1), 3) for system in (1, 2))))
    return table(head, rows)


def level(results):
    columns = [key for key in MEASURES if key not in ("stoi", "dsn")]
    head = ("speech at microphone 1", "system", *(MEASURES[key][0] for key in columns))
    rows = []
    for dbov in cases.LEVELS:
        powers = seeds_of(chosen("level", results, dbov))
        for index, system in enumerate(cases.LEVEL_SYSTEMS[1:], 1):
            values = pooled(powers, index)
            rows.append((f"{dbov} dBov", system,
                         *(shown([seed[key] for seed in values], 1) for key in columns)))
    return table(head, rows)


def rate(results):
    head = ("rate, noise", "SNR improvement, dB", "noise level, dB", "DSN, dB",
            "STOI before", "after", "with AGC: speech level, dB")
    rows = []
    for hertz in cases.RATES:
        for noise in cases.FOLLOWED:
            part = seeds_of(chosen("rate", results, hertz, noise))
            powers = part[..., 1:].reshape(*part.shape[:3], 2, 4)
            values = pooled(powers, 2)
            stoi = part[..., 0].mean(axis=1)
            rows.append((f"{hertz // 1000} kHz, {NOISE_NAMES[noise]}",
                         *(shown([seed[key] for seed in values], 1)
                           for key in ("snri", "noise", "dsn")),
                         shown(stoi[:, 0], 3), shown(stoi[:, 2], 3),
                         shown([seed["speech"] for seed in pooled(powers, 1)], 1)))
    return table(head, rows)


TABLES = {"start": start, "change": change, "direction": direction, "rival": rival, "held": held,
          "level": level, "rate": rate}
