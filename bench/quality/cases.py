# SPDX-License-Identifier: Apache-2.0
"""What the grid does not show: beginnings, changes of the noise, tones, directions, levels, rates.

Each case is a list of arguments and a function that takes one of them, so that processes share the
work; what it gives is an array.
"""
import subprocess
from itertools import product

import arvessa
import numpy as np

from grid import RATE, RIGHT_BEAMS, SETTLED, WAIT, decisions
from scenes import COMMAND, FOLDER, NO_NOISE, NOISES, scene, speech_alone, talk_file
from stoi import Stoi
from suppression_measures import class_powers, classify, frame_powers
from systems import SYSTEMS, engine, microphone_1
from voices import RECORDED, VOICES, write_wave

SEEDS = (1, 2, 3, 4, 5)
SNR = 5  # dB, where a case has one only


# The beginning: `all` in the first seconds, with 1 s of noise before the first word, and with none.
START_FRAMES = 300
START_LEADS = (1, 0)
START_SNRS = (5, 20)
START_SYSTEMS = ("microphone 1", "all", "all, no AGC")
STARTS = list(product(START_LEADS, NOISES, START_SNRS, VOICES, SEEDS))


def start(case):
    """Row for each system: powers of the first frames, peak of the first second, seconds to the
    right beam."""
    lead, noise, snr, voice, seed = case
    talk = talk_file(voice, RATE, lead)
    x = scene(talk, NOISES[noise], 90, snr, seed)
    classes = classify(speech_alone(talk, 90)[:, 0] / 32768, RATE)
    wait = decisions(x, classes, 90)[WAIT]
    outputs = [SYSTEMS[name](x) / 32768 for name in START_SYSTEMS]
    return np.array([[*frame_powers(y, RATE)[:START_FRAMES], np.abs(y[:RATE]).max(), wait]
                     for y in outputs])


# Noise alone into the engine, with a step up by 10 dB in the middle; tones.
STEP_SECONDS = 8
STEP_DB = 10
FOLLOWED = ("fan", "white", "babble")
TONES = (440, 1000, 2500)  # Hz
TONE_DBOV = -30
TONE_BEGIN = 2  # seconds
CHANGE_SEEDS = range(1, 11)
CHANGES = list(product((*FOLLOWED, *TONES), CHANGE_SEEDS))


def change(case):
    """Frame powers before and after the engine without AGC: (2, frames)."""
    kind, seed = case
    if kind in FOLLOWED:
        talk = talk_file(RECORDED, RATE, STEP_SECONDS)
        parts = [scene(talk, NOISES[kind], 90, snr, seed + offset)[:STEP_SECONDS * RATE, 0]
                 for snr, offset in ((SNR + STEP_DB, 0), (SNR, 100))]
        x = np.concatenate(parts)
    else:
        random = np.random.default_rng(seed)
        time = np.arange(2 * STEP_SECONDS * RATE) / RATE
        tone = np.sqrt(2) * np.sin(2 * np.pi * (kind * time + random.uniform()))
        tone *= 10 ** (TONE_DBOV / 20) * (time >= TONE_BEGIN)
        x = np.round(32768 * tone + random.standard_normal(len(time)) * 10).astype(np.int16)
    return np.array([frame_powers(y / 32768, RATE) for y in (x, engine(x, agc=False))])


# The talker's direction: level of the speech, and the beams in noise. With the built-in beams, and
# with beams for microphones so close that they have no side lobes below 2.9 kHz.
DIRECTIONS = tuple(range(0, 181, 5))
NARROW = "58 mm"
GEOMETRIES = ("138.5 mm", NARROW)
NARROW_MILLIMETRES = "-29,0:29,0"
DIRECTION_SEEDS = (1, 2)
QUIET_SNR = 20  # dB
DIRECTION_CASES = list(product(GEOMETRIES, DIRECTIONS, VOICES))


def direction(case):
    """Speech level of the beamformer over that of microphone 1, dB; the shares of the beams in
    frames with speech, in fan noise; STOI with little noise of microphone 1, of the beamformer, and
    of its nearest beam, held."""
    geometry, talker, voice = case
    table = FOLDER / "narrow_beams.csv"
    narrow = geometry == NARROW
    beams = arvessa.read_beams(table) if narrow else None
    options = ("--beams", str(table)) if narrow else ()
    talk = talk_file(voice, RATE)
    speech = scene(talk, (*NO_NOISE, *options), talker)
    alone = microphone_1(speech)
    classes = classify(alone / 32768, RATE)
    used = (classes >= 0) & (classes < 3)
    powers = [np.mean(frame_powers(y, RATE)[used]) for y in
              (alone.astype(float), arvessa.enhance(speech, engine=False, beams=beams))]
    shares = np.zeros(3)
    for seed in DIRECTION_SEEDS:
        noisy = scene(talk, (*NOISES["fan"], *options), talker, SNR, seed)
        chosen = arvessa.trace(noisy, engine=False, beams=beams).beam[:len(used)]
        shares += [np.mean(chosen[used] == beam) for beam in range(3)]
    stoi = Stoi(alone, RATE)
    quiet = scene(talk, (*NOISES["fan"], *options), talker, QUIET_SNR, SEEDS[0])
    heard = (microphone_1(quiet), arvessa.enhance(quiet, engine=False, beams=beams),
             arvessa.enhance(quiet, engine=False, beams=beams, beam=round(talker / 90)))
    return np.array([10 * np.log10(powers[1] / powers[0]), *shares / len(DIRECTION_SEEDS),
                     *map(stoi, heard)])


PATTERN_DIRECTIONS = tuple(range(0, 360, 5))
PATTERN_BANDS = ((250, 1000), (1000, 2000), (2000, 3800))  # Hz


def pattern(source):
    """Power that each beam, held, lets through of a white wave from `source`, by band: (3, 3)."""
    path = FOLDER / "white.wav"
    x = scene(path, NO_NOISE, source)
    frequency = np.fft.rfftfreq(len(x), 1 / RATE)
    powers = [np.abs(np.fft.rfft(arvessa.enhance(x, engine=False, beam=beam))) ** 2
              for beam in range(3)]
    return np.array([[np.sum(power[(frequency >= low) & (frequency < high)])
                      for low, high in PATTERN_BANDS] for power in powers])


def prepare():
    """Writes the files that the processes share."""
    FOLDER.mkdir(parents=True, exist_ok=True)
    write_wave(FOLDER / "white.wav", 0.1 * np.random.default_rng(1).standard_normal(4 * RATE), RATE)
    subprocess.run([COMMAND, "beams", "--microphones", NARROW_MILLIMETRES, "--quiet",
                    "-o", FOLDER / "narrow_beams.csv"], check=True)


# Another talker at 180 degrees, as loud as the babble around: which beam?
RIVAL = ("--noise", "babble", "--noise-from", "180")
RIVAL_SNRS = (-5, 0, 5, 10, 15, 20)
RIVALS = list(product(RIGHT_BEAMS, RIVAL_SNRS, VOICES, SEEDS))


def rival(case):
    talker, snr, voice, seed = case
    talk = talk_file(voice, RATE)
    classes = classify(speech_alone(talk, talker)[:, 0] / 32768, RATE)
    return decisions(scene(talk, RIVAL, talker, snr, seed), classes, talker)


# What the changes of the beam cost: the front end without AGC as it is, and with the talker's beam
# held.
HELD_BEAMS = {0: 0, 90: 1, 180: 2}  # by direction of the talker
HELD_CASES = list(product(HELD_BEAMS, NOISES, VOICES, SEEDS))


def held(case):
    """Rows of microphone 1, the front end and the front end with the beam held: STOI and class
    powers; then the changes of the beam in a second, thrice."""
    talker, noise, voice, seed = case
    talk = talk_file(voice, RATE)
    speech = microphone_1(speech_alone(talk, talker))
    stoi, classes = Stoi(speech, RATE), classify(speech / 32768, RATE)
    x = scene(talk, NOISES[noise], talker, SNR, seed)
    changes = np.count_nonzero(np.diff(arvessa.trace(x, engine=False).beam)) / (len(x) / RATE)
    outputs = (microphone_1(x), arvessa.enhance(x, agc=False),
               arvessa.enhance(x, agc=False, beam=HELD_BEAMS[talker]))
    return np.array([[stoi(y), *class_powers(y / 32768, RATE, classes, SETTLED).ravel(), changes]
                     for y in outputs])


# Talkers from quiet to loud.
LEVELS = (-56, -46, -36, -26, -16)  # dBov
LEVEL_SNR = 10
LEVEL_SYSTEMS = ("microphone 1", "all", "all, no AGC", "Speex, microphone 1",
                 "Speex with AGC, microphone 1")
LEVEL_CASES = list(product(LEVELS, VOICES, SEEDS))


def level(case):
    """Class powers for each system."""
    dbov, voice, seed = case
    talk = talk_file(voice, RATE, 1, dbov)
    x = scene(talk, NOISES["fan"], 90, LEVEL_SNR, seed)
    classes = classify(speech_alone(talk, 90)[:, 0] / 32768, RATE)
    return np.array([class_powers(SYSTEMS[name](x) / 32768, RATE, classes, SETTLED)
                     for name in LEVEL_SYSTEMS])


# The engine alone at all its rates.
RATES = (8000, 16000, 32000, 48000)
RATE_CASES = list(product(RATES, FOLLOWED, VOICES, SEEDS))


def rate(case):
    """Rows of microphone 1, the engine, and the engine without AGC: STOI and class powers."""
    hertz, noise, voice, seed = case
    talk = talk_file(voice, hertz)
    speech = microphone_1(speech_alone(talk, 90))
    stoi, classes = Stoi(speech, hertz), classify(speech / 32768, hertz)
    x = microphone_1(scene(talk, NOISES[noise], 90, SNR, seed))
    return np.array([[stoi(y), *class_powers(y / 32768, hertz, classes, SETTLED).ravel()]
                     for y in (x, engine(x, hertz), engine(x, hertz, agc=False))])


CASES = {"start": (start, STARTS), "change": (change, CHANGES),
         "direction": (direction, DIRECTION_CASES), "pattern": (pattern, PATTERN_DIRECTIONS),
         "rival": (rival, RIVALS), "held": (held, HELD_CASES), "level": (level, LEVEL_CASES),
         "rate": (rate, RATE_CASES)}


def run(pool):
    """Arrays by name; the first axis is that of the case's list."""
    prepare()
    return {name: np.array(pool.map(function, arguments))
            for name, (function, arguments) in CASES.items()}
