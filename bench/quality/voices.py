# SPDX-License-Identifier: Apache-2.0
"""Four voices, each as a talk of two phrases with pauses in known places.

One woman reads, recorded; a man, a woman and a man in German are synthetic, made by espeak-ng.
"""
import io
import math
import subprocess
import wave
from pathlib import Path

import numpy as np
from scipy.signal import resample_poly

from speech_level import active_level

RECORDING = Path(__file__).resolve().parents[2] / "audio/speech_female_16k.wav"
CUT_SECONDS = 4.35  # the recording's two phrases part here

ENGLISH = ("It is a truth universally acknowledged, that a single man in possession of a good "
           "fortune,", "must be in want of a wife.")  # Austen, Pride and Prejudice
GERMAN = ("Es war, als hätt der Himmel die Erde still geküsst,",
          "dass sie im Blütenschimmer von ihm nun träumen müsst.")  # Eichendorff, Mondnacht
SYNTHETIC = {"man": ("en-gb-x-rp", ENGLISH), "woman": ("en-us+f3", ENGLISH),
             "German man": ("de", GERMAN)}
WORDS_PER_MINUTE = 150
RECORDED = "recorded woman"
VOICES = (RECORDED, *SYNTHETIC)

LEVEL_DBOV = -26   # active speech level, as in the tests of G.160
LEAD_SECONDS = 1   # before the first word
PAUSE_SECONDS = 1  # after each phrase
FADE_SECONDS = 0.01


def resampled(x, rate, wanted):
    common = math.gcd(rate, wanted)
    return x if rate == wanted else resample_poly(x, wanted // common, rate // common)


def read_wave(file):
    """Samples of full scale 1 and their rate, of one channel of 16 bits."""
    with wave.open(file) as recording:
        rate = recording.getframerate()
        # espeak-ng does not know the length when it writes the header to a pipe.
        data = recording.readframes(min(recording.getnframes(), 600 * rate))
    return np.frombuffer(data, "<i2") / 32768, rate


def write_wave(path, x, rate):
    with wave.open(str(path), "wb") as file:
        file.setparams((1, 2, rate, 0, "NONE", ""))
        file.writeframes(np.round(x * 32767).astype("<i2").tobytes())


def spoken(voice, text):
    command = ["espeak-ng", "-v", voice, "-s", str(WORDS_PER_MINUTE), "--stdout", text]
    return read_wave(io.BytesIO(subprocess.run(command, check=True, capture_output=True).stdout))


def phrases(voice):
    """Two arrays of samples and their rate."""
    if voice == RECORDED:
        x, rate = read_wave(str(RECORDING))
        return (x[:round(CUT_SECONDS * rate)], x[round(CUT_SECONDS * rate):]), rate
    name, texts = SYNTHETIC[voice]
    (first, rate), (second, _) = (spoken(name, text) for text in texts)
    return (first, second), rate


def talk(voice, rate, lead=LEAD_SECONDS, level=LEVEL_DBOV):
    """Silence, a phrase, a pause, a phrase, a pause; samples of full scale 1.

    lead:   seconds of silence before the first word
    level:  active speech level, dBov
    """
    parts = [np.zeros(round(lead * rate))]
    voiced, own_rate = phrases(voice)
    ramp = np.linspace(0, 1, round(FADE_SECONDS * rate))
    for phrase in voiced:
        phrase = resampled(phrase, own_rate, rate).copy()
        phrase[:len(ramp)] *= ramp
        phrase[-len(ramp):] *= ramp[::-1]
        parts += [phrase, np.zeros(round(PAUSE_SECONDS * rate))]
    x = np.concatenate(parts)
    return x * 10 ** ((level - active_level(x, rate)[0]) / 20)
