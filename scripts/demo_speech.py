#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Writes a talk with pauses in known places: the clip in two phrases, twice over, silence between.

usage: demo_speech.py CLIP.wav TALK.wav
"""
import sys
import wave

import numpy as np

LEAD_SECONDS = 0.6
PAUSE_SECONDS = 1.5
ROUNDS = 2
FADE_SECONDS = 0.01


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    with wave.open(sys.argv[1], "rb") as clip:
        parameters = clip.getparams()
        samples = np.frombuffer(clip.readframes(parameters.nframes), "<i2").astype(float)
    rate = parameters.framerate
    # The phrases part where 80 ms are quietest, away from both ends.
    span = int(0.08 * rate)
    power = np.convolve(samples**2, np.ones(span), "same")
    middle = slice(len(samples) // 4, 3 * len(samples) // 4)
    cut = middle.start + int(np.argmin(power[middle]))

    fade = np.linspace(0.0, 1.0, int(FADE_SECONDS * rate))
    silence = np.zeros(int(PAUSE_SECONDS * rate))
    talk = [np.zeros(int(LEAD_SECONDS * rate))]
    for phrase in ROUNDS * [samples[:cut], samples[cut:]]:
        phrase = phrase.copy()
        phrase[:len(fade)] *= fade
        phrase[-len(fade):] *= fade[::-1]
        talk += [phrase, silence]
    with wave.open(sys.argv[2], "wb") as out:
        out.setparams(parameters)
        out.writeframes(np.round(np.concatenate(talk)).astype("<i2").tobytes())


main()
